#pragma once
// How the pass tells a stream chunk from the bytes around it: the two-letter
// kind codes, the padded size, and what may stand where the next chunk's id
// is due. Nothing looks inside a chunk's data.

#include <cstdint>

namespace tolmi {

// "dc", "db" and "xx" are video, "wb" audio.
bool IsChunkCode(uint8_t first, uint8_t second);
bool IsAudioCode(uint8_t first, uint8_t second);

// The declared size and the padding byte behind an odd size.
inline uint64_t PaddedSize(uint32_t declared) { return uint64_t(declared) + (declared & 1); }

// True when id (four bytes in file order, as a little-endian word) may stand
// behind a chunk: the next chunk, a stream index, an old idx1, or JUNK.
// The first chunk behind a movi tag follows its own rule, and an id that was
// read beyond the window is also taken with the kind "xx".
bool NextChunkIdAccepted(uint32_t id, bool firstChunk, bool beyondWindow);

}  // namespace tolmi
