#pragma once
// Does a chain of length-prefixed NAL units that agrees with the
// reference's parameter sets start at a byte of the damaged file, and which
// samples does it hold? A chain is followed by trusting each length prefix;
// it ends at the first thing that is not a NAL unit of this very stream.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "movrepair/CSample.h"
#include "movrepair/DamagedFile.h"

namespace tolmi {

class CNALU;
class CObject;

using SampleRun = std::vector<std::unique_ptr<CSample>>;

// The reference's parameter sets; vps is null for H.264, which is how the
// codec is chosen.
struct ReferenceParameterSets {
    const CObject* sps = nullptr;
    const CObject* pps = nullptr;
    const CObject* vps = nullptr;
};

// No parser ever sees more of a NAL unit than this.
inline constexpr size_t kNalWindowSize = 50;
// A NAL unit of this total size or more ends a chain.
inline constexpr uint32_t kLargestNalUnit = 2'200'000;

// Fills window with up to count bytes at position and cuts it to the bytes
// read: fewer at the end of the file, none on a read fault.
void ReadWindow(DamagedFile& file, uint64_t position, size_t count, std::vector<uint8_t>& window);

// The NAL unit whose length prefix starts at position, or null.
std::unique_ptr<CNALU> ReadNalAt(uint64_t position, DamagedFile& file, uint8_t lengthSize,
                                 const ReferenceParameterSets& sets);

// Follows the chain that starts at position and appends its samples to run
// (units joined into samples by the codec's rules). frameCount goes up for
// each sample that a frame starts with. Gives the number of NAL units in the
// chain; 0 when there is none or the job was stopped. With insideFile a unit
// that runs past the end of the file ends the chain.
uint32_t CollectVideoRun(uint64_t position, SampleRun& run, DamagedFile& file, uint8_t lengthSize,
                         uint32_t& frameCount, const ReferenceParameterSets& sets, bool insideFile = false);

// One picture of a stream interleaved frame by frame: the units in front
// of its first slice and its slices, as samples.
struct Picture {
    SampleRun samples;
    uint32_t frameCount = 0;
    uint64_t end() const { return samples.back()->offset + samples.back()->size; }
};

// The picture that starts at position and lies wholly inside the file; none
// when no slice follows the units there.
std::optional<Picture> CollectPicture(uint64_t position, DamagedFile& file, uint8_t lengthSize,
                                      const ReferenceParameterSets& sets);

}  // namespace tolmi
