#pragma once
// The last look at a job's output before the driver calls it repaired.
// An engine stops at a write that fails (a disk that fills up during the
// rebuild), which leaves a file that is short, or as long as planned but
// with its closing parts missing. The layout that each engine writes is
// known, and its length must agree with the sizes inside it and with what
// the engine reported.

#include <cstdint>
#include <string>

namespace tolmi {

// A rebuilt MOV: a 16-byte media data header with its 64-bit size, the
// samples, and the movie right behind them, ending the file.
bool MovResultIsWhole(const std::string& path, uint64_t reportedSize);

// A rebuilt AVI: RIFF whose size covers the whole file, with the index of
// indexEntries entries of 16 bytes as its last chunk. reportedSize is what
// the pass counts: the file's length less the RIFF header's 8 bytes.
bool AviResultIsWhole(const std::string& path, uint64_t reportedSize, uint64_t indexEntries);

}  // namespace tolmi
