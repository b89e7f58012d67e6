#pragma once
// The cheap part of the NAL unit test, for the byte-by-byte walk: the rules
// that CNALU::Parse applies to the length prefix and the header bytes before
// it parses anything, and the size limit of a chain. A position that fails
// them starts no chain, so the walk needs no CNALU there; a position that
// passes them gets the full test.

#include <array>
#include <cstddef>
#include <cstdint>

#include "movrepair/VideoSampleRecognition.h"

namespace tolmi {

class NalStartFilter {
public:
    NalStartFilter(uint8_t lengthSize, const ReferenceParameterSets& sets);

    // The bytes from the first byte of the length prefix; bytes behind
    // available count as zeros, as in the window of the full test. False
    // only where CollectVideoRun would give 0.
    bool MayStart(const uint8_t* bytes, size_t available) const;

    // How many bytes MayStart looks at.
    size_t span() const { return size_t(lengthSize_) + 2; }

    // The first i below count for which MayStart(bytes + i, available - i)
    // holds, or count; available is at least count.
    size_t FirstCandidate(const uint8_t* bytes, size_t count, size_t available) const;

private:
    bool MayStartH264(uint32_t totalSize, uint8_t header) const;
    bool MayStartH265(uint32_t totalSize, uint8_t first, uint8_t second) const;

    uint8_t lengthSize_;
    bool h265_;
    // Without an H.265 SPS of the right class every unit is refused.
    bool refuseAll_ = false;
    // Length prefixes that this filter does not model are left to the full test.
    bool passAll_ = false;
    int32_t layerId_ = 0;
};

}  // namespace tolmi
