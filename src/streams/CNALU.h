#pragma once
// One NAL unit in length-prefixed form, as the repair engine meets it at a
// candidate position of a damaged file: the length prefix, the NAL header,
// and the start of the payload parsed against the reference's parameter
// sets. The header rules are much stricter than the standards, so that
// garbage is refused.

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "streams/CObject.h"
#include "streams/CPPS.h"
#include "streams/CSPS.h"
#include "streams/CSliceHeader.h"
#include "streams/CVPS.h"
#include "streams/PPS_265.h"
#include "streams/SPS_265.h"
#include "streams/SliceHeader_265.h"

namespace tolmi {

class CNALU : public CObject {
public:
    // Tests `length` bytes from the first byte of the length prefix. A
    // non-null `vps` (a CVPS) selects H.265, with `sps` an SPS_265 and `pps`
    // a PPS_265; otherwise `sps` and `pps` are a CSPS and a CPPS. Gives
    // true for a NAL unit. Bytes behind `length` are never read: a window
    // cut short reads as if filled up with zeros.
    bool Parse(const uint8_t* window, uint32_t length, uint32_t lengthSize, const CObject* sps,
               const CObject* pps, const CObject* vps);

    // The object made from the payload, if it is of type T: CSliceHeader,
    // CSPS, CPPS, SliceHeader_265, SPS_265, PPS_265 or CVPS. Owned here.
    template <class T>
    const T* parsedAs() const {
        auto* held = std::get_if<std::unique_ptr<T>>(&parsed);
        return held ? held->get() : nullptr;
    }
    bool hasParsedObject() const { return !std::holds_alternative<std::monostate>(parsed); }

    int32_t forbidden_zero_bit = -1;
    int32_t nal_ref_idc = -1;    // H.264 only
    int32_t nal_unit_type = -1;  // 5 bits in H.264, 6 in H.265
    int32_t nuh_layer_id = -1;   // H.265 only
    int32_t nuh_temporal_id_plus1 = -1;
    // The length field plus lengthSize: from the prefix to the end of the unit.
    uint32_t totalSize = 0;
    // H.265 only: "Slice", "VPS", "SPS", "PPS", "AUD", "SEI",
    // "Unspecified", or empty (types 36 and 63, and all of H.264).
    std::string typeName;
    // Slice values; -1 for units that are no slice.
    int32_t frame_num = -1;   // H.264
    int32_t slice_type = -1;  // H.264
    // H.264: first_mb_in_slice; H.265: first_slice_segment_in_pic_flag.
    int32_t firstValue = -1;

private:
    bool ParseH264(const uint8_t* window, uint32_t length, uint32_t lengthSize, const CSPS* sps,
                   const CPPS* pps);
    bool ParseH265(const uint8_t* window, uint32_t length, uint32_t lengthSize, const SPS_265* sps,
                   const PPS_265* pps);

    std::variant<std::monostate, std::unique_ptr<CSliceHeader>, std::unique_ptr<CSPS>,
                 std::unique_ptr<CPPS>, std::unique_ptr<SliceHeader_265>, std::unique_ptr<SPS_265>,
                 std::unique_ptr<PPS_265>, std::unique_ptr<CVPS>>
        parsed;
};

}  // namespace tolmi
