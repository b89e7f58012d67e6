#pragma once
// One edit of an edit list: trackDuration of the track plays the media
// from mediaTime at mediaRate (16.16 fixed point).

#include <cstdint>
#include <vector>

namespace tolmi {

class CEditListEntry {
public:
    static constexpr uint32_t kFileSize = 12;

    CEditListEntry() = default;
    CEditListEntry(const uint8_t* bytes, uint32_t length);

    // rate is a whole number; it is stored shifted into 16.16 form.
    void Build(uint32_t newTrackDuration, uint32_t newMediaTime, uint32_t rate);
    std::vector<uint8_t> ToBytes() const;

    uint32_t trackDuration = 0;
    uint32_t mediaTime = 0;
    uint32_t mediaRate = 0;
    std::vector<uint8_t> image;
};

}  // namespace tolmi
