#include "movrepair/VideoSampleRecognition.h"

#include <strings.h>

#include "streams/CNALU.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

bool NameIs(const CNALU& unit, const char* name) { return strcasecmp(unit.typeName.c_str(), name) == 0; }

bool IsParameterSet(const CNALU& unit) { return NameIs(unit, "VPS") || NameIs(unit, "SPS") || NameIs(unit, "PPS"); }

// H.264: the slices of one picture that share a slice type make one sample.
// A unit that is no slice never joins, since -1 is not above -1.
bool JoinsH264(const CNALU& unit, const CNALU* previous) {
    return previous && unit.nal_unit_type == previous->nal_unit_type && unit.slice_type == previous->slice_type &&
           unit.frame_num == previous->frame_num && unit.firstValue > previous->firstValue;
}

// SEI, PPS and access unit delimiter wait for the frame behind them; every
// other H.264 unit that starts a sample starts a frame (an SPS too).
bool StartsFrameH264(const CNALU& unit) {
    return unit.nal_unit_type != 6 && unit.nal_unit_type != 8 && unit.nal_unit_type != 9;
}

// H.265: the parameter sets in front of a picture and its first slice make
// one sample; later slice segments of the picture join it while they keep
// its NAL type; unspecified units follow the slice they stand behind.
bool JoinsH265(const CNALU& unit, const CNALU* previous, bool pictureOpen) {
    if (!previous) return false;
    if (pictureOpen && NameIs(unit, "Slice") && unit.firstValue == 0 &&
        unit.nal_unit_type == previous->nal_unit_type)
        return true;
    if (NameIs(*previous, "Slice") && NameIs(unit, "Unspecified")) return true;
    if (IsParameterSet(*previous) && NameIs(unit, "Slice")) return true;
    return IsParameterSet(*previous) && IsParameterSet(unit);
}

bool StartsFrameH265(const CNALU& unit) {
    return NameIs(unit, "Slice") || NameIs(unit, "SPS") || NameIs(unit, "VPS");
}

}  // namespace

void ReadWindow(DamagedFile& file, uint64_t position, size_t count, std::vector<uint8_t>& window) {
    window.assign(count, 0);
    window.resize(file.read(position, window.data(), count));
}

std::unique_ptr<CNALU> ReadNalAt(uint64_t position, DamagedFile& file, uint8_t lengthSize,
                                 const ReferenceParameterSets& sets) {
    std::vector<uint8_t> window;
    ReadWindow(file, position, kNalWindowSize, window);
    // Behind the bytes read the parsers see zeros.
    auto unit = std::make_unique<CNALU>();
    if (!unit->Parse(window.data(), uint32_t(window.size()), lengthSize, sets.sps, sets.pps, sets.vps)) return nullptr;
    return unit;
}

namespace {

bool IsSlice(const CNALU& unit, bool h265) {
    return h265 ? NameIs(unit, "Slice") : unit.nal_unit_type >= 1 && unit.nal_unit_type <= 5;
}

// The chain that starts at position, or with onePicture only its first
// picture: the units in front of a slice and the slices that join it. A
// picture counts only when it lies wholly inside the file and each of its
// units holds more than a header. With insideFile a unit that runs past the
// end of the file ends the chain.
uint32_t FollowChain(uint64_t position, SampleRun& run, DamagedFile& file, uint8_t lengthSize, uint32_t& frameCount,
                     const ReferenceParameterSets& sets, bool onePicture, bool insideFile) {
    const bool h265 = sets.vps != nullptr;
    std::unique_ptr<CNALU> unit = ReadNalAt(position, file, lengthSize, sets);
    if (!unit) return 0;

    const CNALU* previous = nullptr;
    // Owns the previous unit while it is one that joined a sample and so
    // belongs to none.
    std::unique_ptr<CNALU> joinedUnit;
    bool pictureOpen = false;
    bool sliceSeen = false;
    uint32_t count = 0;
    // The parsers refuse units of size 0; the test here keeps the chain
    // moving whatever they accept.
    while (unit && unit->totalSize > 0 && unit->totalSize < kLargestNalUnit) {
        if (WaitWhilePaused()) return 0;
        const uint32_t size = unit->totalSize;
        const CNALU* current = unit.get();
        const bool joins = h265 ? JoinsH265(*current, previous, pictureOpen) : JoinsH264(*current, previous);
        const bool pastTheEnd = position + size > file.size();
        if ((insideFile && pastTheEnd) || (onePicture && ((sliceSeen && !joins) || size < lengthSize + 2u))) break;
        ++count;
        sliceSeen = sliceSeen || IsSlice(*current, h265);
        if (joins) {
            run.back()->size += size;
            joinedUnit = std::move(unit);
        } else {
            if (h265 ? StartsFrameH265(*current) : StartsFrameH264(*current)) ++frameCount;
            if (h265 && NameIs(*current, "Slice") && current->firstValue == 1) pictureOpen = true;
            run.push_back(std::make_unique<CSample>(position, size, h265 ? "HVC1" : "AVC1", std::move(unit)));
        }
        previous = current;
        position += size;
        unit = ReadNalAt(position, file, lengthSize, sets);
    }
    return onePicture && !sliceSeen ? 0 : count;
}

}  // namespace

uint32_t CollectVideoRun(uint64_t position, SampleRun& run, DamagedFile& file, uint8_t lengthSize,
                         uint32_t& frameCount, const ReferenceParameterSets& sets, bool insideFile) {
    return FollowChain(position, run, file, lengthSize, frameCount, sets, false, insideFile);
}

std::optional<Picture> CollectPicture(uint64_t position, DamagedFile& file, uint8_t lengthSize,
                                      const ReferenceParameterSets& sets) {
    Picture picture;
    if (FollowChain(position, picture.samples, file, lengthSize, picture.frameCount, sets, true, true) == 0)
        return std::nullopt;
    return picture;
}

}  // namespace tolmi
