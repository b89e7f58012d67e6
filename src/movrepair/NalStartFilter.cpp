#include "movrepair/NalStartFilter.h"

#include <algorithm>

#include "platform/ZeroRun.h"
#include "streams/SPS_265.h"

namespace tolmi {
namespace {

// Parameter sets, SEI and delimiters longer than this are refused.
constexpr uint32_t kMaxNonSliceSize = 800;
constexpr uint32_t kMaxUnspecifiedSize265 = 1000;
constexpr uint32_t kMinSize265 = 7;

bool IsKnownType265(int32_t type) {
    return (type <= 9) || (type >= 16 && type <= 21) || (type >= 32 && type <= 36) || type == 39 || type == 40 ||
           type >= 48;
}

}  // namespace

NalStartFilter::NalStartFilter(uint8_t lengthSize, const ReferenceParameterSets& sets)
    : lengthSize_(lengthSize), h265_(sets.vps != nullptr) {
    // A prefix of more than 4 bytes overflows the unit size in ways not
    // worth repeating here.
    passAll_ = lengthSize > 4;
    if (h265_) {
        const auto* sps = dynamic_cast<const SPS_265*>(sets.sps);
        refuseAll_ = sps == nullptr;
        if (sps) layerId_ = sps->header.nuh_layer_id;
    }
}

bool NalStartFilter::MayStart(const uint8_t* bytes, size_t available) const {
    if (passAll_) return true;
    if (refuseAll_) return false;
    auto at = [&](size_t i) -> uint8_t { return i < available ? bytes[i] : 0; };
    uint64_t prefix = 0;
    for (size_t i = 0; i < lengthSize_; ++i) prefix = (prefix << 8) | at(i);
    // Sizes as the full test computes them, 32 bits wide.
    const uint32_t totalSize = uint32_t(prefix + lengthSize_);
    if (totalSize == 0 || totalSize >= kLargestNalUnit) return false;
    return h265_ ? MayStartH265(totalSize, at(lengthSize_), at(lengthSize_ + 1u))
                 : MayStartH264(totalSize, at(lengthSize_));
}

size_t NalStartFilter::FirstCandidate(const uint8_t* bytes, size_t count, size_t available) const {
    if (passAll_) return 0;
    if (refuseAll_) return count;
    // A zero in the header byte that MayStart tests first refuses the
    // position (H.264: type 0; H.265: temporal id 0), so a run of zeros
    // there is passed over at once.
    const size_t zeroRefuses = h265_ ? size_t(lengthSize_) + 1 : size_t(lengthSize_);
    for (size_t i = 0; i < count;) {
        if (i + zeroRefuses < available && bytes[i + zeroRefuses] == 0) {
            const size_t end = std::min(available, count + zeroRefuses);
            i += std::max<size_t>(1, LeadingZeroBytes(bytes + i + zeroRefuses, end - i - zeroRefuses));
            continue;
        }
        if (MayStart(bytes + i, available - i)) return i;
        ++i;
    }
    return count;
}

bool NalStartFilter::MayStartH264(uint32_t totalSize, uint8_t header) const {
    if (header & 0x80) return false;
    const int32_t refIdc = (header >> 5) & 3;
    const int32_t type = header & 0x1f;
    switch (type) {
    case 1: return true;
    case 5: return refIdc != 0;
    case 7:
    case 8: return refIdc != 0 && totalSize <= kMaxNonSliceSize;
    case 6:
    case 9: return refIdc == 0 && totalSize <= kMaxNonSliceSize;
    default: return false;
    }
}

bool NalStartFilter::MayStartH265(uint32_t totalSize, uint8_t first, uint8_t second) const {
    const int32_t forbidden = first >> 7;
    const int32_t type = (first >> 1) & 0x3f;
    const int32_t layerId = ((first & 1) << 5) | (second >> 3);
    const int32_t temporalIdPlus1 = second & 7;
    if (forbidden != 0 || temporalIdPlus1 == 0 || layerId != layerId_) return false;
    if (!IsKnownType265(type)) return false;
    const bool parameterSetOrSei = (type >= 32 && type <= 36) || type == 39 || type == 40;
    if (parameterSetOrSei && totalSize > kMaxNonSliceSize) return false;
    if (type >= 48 && totalSize > kMaxUnspecifiedSize265) return false;
    return totalSize >= kMinSize265;
}

}  // namespace tolmi
