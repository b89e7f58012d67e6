#include "streams/CVPS.h"

#include "streams/BitCursor.h"

namespace tolmi {

namespace {

// Byte index behind the last 0x00 0x03 0x00 at or after `from`: the index
// of its 0x03 plus 3; 0 when there is none.
size_t BehindLastEscape(const uint8_t* bytes, size_t length, size_t from) {
    size_t found = 0;
    for (size_t i = from; i + 2 < length; ++i)
        if (bytes[i] == 0 && bytes[i + 1] == 3 && bytes[i + 2] == 0) found = i + 1 + 3;
    return found;
}

}  // namespace

bool CVPS::Parse(const uint8_t* nal, uint32_t length) {
    if (nal == nullptr) length = 0;
    header.Read(nal, length);
    BitCursor c({nal, length}, 2);
    vps_video_parameter_set_id = int32_t(c.ReadBits(4));
    vps_base_layer_internal_flag = BitField(c);
    vps_base_layer_available_flag = BitField(c);
    vps_max_layers_minus1 = int32_t(c.ReadBits(6));
    vps_max_sub_layers_minus1 = int32_t(c.ReadBits(3));
    vps_temporal_id_nesting_flag = BitField(c);
    vps_reserved_0xffff_16bits = int32_t(c.ReadBits(16));

    c.moveTo(BehindLastEscape(nal, length, c.byteIndex()), c.bitIndex());

    size_t subLayers = size_t(vps_max_sub_layers_minus1) + 1;
    vps_max_dec_pic_buffering_minus1.assign(subLayers, 0);
    vps_max_num_reorder_pics.assign(subLayers, 0);
    vps_max_latency_increase_plus1.assign(subLayers, 0);
    if (vps_base_layer_internal_flag == 1) {
        vps_sub_layer_ordering_info_present_flag = BitField(c);
        size_t first = vps_sub_layer_ordering_info_present_flag == 1 ? 0 : subLayers - 1;
        for (size_t i = first; i < subLayers; ++i) {
            vps_max_dec_pic_buffering_minus1[i] = uint8_t(c.ReadUE());
            vps_max_num_reorder_pics[i] = uint8_t(c.ReadUE());
            vps_max_latency_increase_plus1[i] = uint8_t(c.ReadUE());
        }
    }
    vps_max_layer_id = int32_t(c.ReadBits(6));
    vps_num_layer_sets_minus1 = UeField(c);
    return vps_num_layer_sets_minus1 < 1024;
}

}  // namespace tolmi
