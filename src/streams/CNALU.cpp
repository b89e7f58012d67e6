#include "streams/CNALU.h"

#include <algorithm>

namespace tolmi {

namespace {

// Parameter sets, SEI and delimiters are small; longer ones are garbage.
constexpr uint32_t kMaxNonSliceSize = 800;
constexpr uint32_t kMaxUnspecifiedSize265 = 1000;
constexpr uint32_t kMinSize265 = 7;

enum H264Type : int32_t { kSlice = 1, kIdr = 5, kSei = 6, kSps = 7, kPps = 8, kAud = 9 };
enum H265Type : int32_t { kVps265 = 32, kSps265 = 33, kPps265 = 34, kAud265 = 35, kEos265 = 36 };

// The big-endian length prefix; bytes missing from the window count as 0.
uint64_t ReadLengthPrefix(const uint8_t* window, uint32_t length, uint32_t lengthSize) {
    uint64_t value = 0;
    for (uint32_t i = 0; i < lengthSize; ++i) value = (value << 8) | (i < length ? window[i] : 0);
    return value;
}

// The H.265 unit types that can stand in a stream we repair, with the name
// the engine knows them by; nullptr for the refused ones.
const char* TypeName265(int32_t type) {
    if ((type >= 0 && type <= 9) || (type >= 16 && type <= 21)) return "Slice";
    switch (type) {
    case kVps265: return "VPS";
    case kSps265: return "SPS";
    case kPps265: return "PPS";
    case kAud265: return "AUD";
    case kEos265: return "";
    case 39: case 40: return "SEI";
    case 63: return "";
    default: break;
    }
    if (type >= 48 && type <= 62) return "Unspecified";
    return nullptr;
}

bool IsParameterSetOrSei265(int32_t type) { return (type >= kVps265 && type <= kEos265) || type == 39 || type == 40; }

}  // namespace

bool CNALU::Parse(const uint8_t* window, uint32_t length, uint32_t lengthSize, const CObject* sps,
                  const CObject* pps, const CObject* vps) {
    frame_num = -1;
    slice_type = -1;
    firstValue = -1;
    typeName.clear();
    parsed = std::monostate();
    if (window == nullptr) length = 0;
    if (vps != nullptr)
        return ParseH265(window, length, lengthSize, dynamic_cast<const SPS_265*>(sps),
                         dynamic_cast<const PPS_265*>(pps));
    return ParseH264(window, length, lengthSize, dynamic_cast<const CSPS*>(sps), dynamic_cast<const CPPS*>(pps));
}

bool CNALU::ParseH264(const uint8_t* window, uint32_t length, uint32_t lengthSize, const CSPS* sps,
                      const CPPS* pps) {
    totalSize = uint32_t(ReadLengthPrefix(window, length, lengthSize) + lengthSize);
    uint8_t header = lengthSize < length ? window[lengthSize] : 0;
    forbidden_zero_bit = header >> 7;
    nal_ref_idc = (header >> 5) & 3;
    nal_unit_type = header & 0x1f;

    if (forbidden_zero_bit == 1) return false;
    const int32_t type = nal_unit_type;
    if (type != kSlice && type != kIdr && type != kSei && type != kSps && type != kPps && type != kAud) return false;
    if ((type == kIdr || type == kSps || type == kPps) && nal_ref_idc == 0) return false;
    if ((type == kSei || type == kAud) && nal_ref_idc != 0) return false;
    if (type != kSlice && type != kIdr && totalSize > kMaxNonSliceSize) return false;
    if (totalSize == 0) return false;

    // The NAL unit from its header byte to the end of the window.
    const uint8_t* unit = window + std::min(length, lengthSize);
    const uint32_t unitLength = length > lengthSize ? length - lengthSize : 0;
    if (type == kSlice || type == kIdr) {
        auto slice = std::make_unique<CSliceHeader>();
        if (!slice->Parse(unitLength > 0 ? unit + 1 : unit, unitLength > 0 ? unitLength - 1 : 0, this, sps, pps))
            return false;
        slice_type = slice->slice_type;
        firstValue = slice->first_mb_in_slice;
        frame_num = slice->frame_num;
        parsed = std::move(slice);
    } else if (type == kSps) {
        auto parsedSps = std::make_unique<CSPS>(unit, unitLength);
        if (sps == nullptr || parsedSps->seq_parameter_set_id != sps->seq_parameter_set_id) return false;
        parsed = std::move(parsedSps);
    } else if (type == kPps) {
        parsed = std::make_unique<CPPS>(unit, unitLength);
    }
    return true;
}

bool CNALU::ParseH265(const uint8_t* window, uint32_t length, uint32_t lengthSize, const SPS_265* sps,
                      const PPS_265* pps) {
    totalSize = uint32_t(ReadLengthPrefix(window, length, lengthSize) + lengthSize);
    const uint8_t* unit = window + std::min(length, lengthSize);
    const uint32_t unitLength = length > lengthSize ? length - lengthSize : 0;
    NalHeader265 header;
    header.Read(unit, unitLength);
    forbidden_zero_bit = header.forbidden_zero_bit;
    nal_unit_type = header.nal_unit_type;
    nuh_layer_id = header.nuh_layer_id;
    nuh_temporal_id_plus1 = header.nuh_temporal_id_plus1;

    if (sps == nullptr) return false;
    if (forbidden_zero_bit != 0 || nuh_temporal_id_plus1 == 0 || nuh_layer_id != sps->header.nuh_layer_id)
        return false;
    const int32_t type = nal_unit_type;
    const char* name = TypeName265(type);
    if (name == nullptr) return false;
    if (IsParameterSetOrSei265(type) && totalSize > kMaxNonSliceSize) return false;
    if (type >= 48 && totalSize > kMaxUnspecifiedSize265) return false;
    if (totalSize < kMinSize265) return false;

    if (type < 22) {
        auto slice = std::make_unique<SliceHeader_265>();
        const uint8_t* payload = unitLength >= 2 ? unit + 2 : unit;
        if (!slice->Parse(payload, unitLength >= 2 ? unitLength - 2 : 0, this, sps, pps)) return false;
        firstValue = slice->first_slice_segment_in_pic_flag;
        parsed = std::move(slice);
    } else if (type == kSps265) {
        auto parsedSps = std::make_unique<SPS_265>();
        if (!parsedSps->Parse(unit, unitLength, sps->pic_width_in_luma_samples, sps->pic_height_in_luma_samples))
            return false;
        if (parsedSps->sps_seq_parameter_set_id != sps->sps_seq_parameter_set_id) return false;
        parsed = std::move(parsedSps);
    } else if (type == kPps265) {
        auto parsedPps = std::make_unique<PPS_265>();
        parsedPps->Parse(unit, unitLength, sps);  // kept whatever the parse gives
        parsed = std::move(parsedPps);
    } else if (type == kVps265) {
        auto parsedVps = std::make_unique<CVPS>();
        parsedVps->Parse(unit, unitLength);  // kept whatever the parse gives
        parsed = std::move(parsedVps);
    }
    typeName = name;
    return true;
}

}  // namespace tolmi
