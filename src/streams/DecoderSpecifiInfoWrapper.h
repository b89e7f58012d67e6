#pragma once
// A view of the decoder specific info of an esds atom, handed out by the
// sample description. It owns nothing: the CEsdsDecoder it came from must
// outlive it.

#include <cstdint>
#include <span>

#include "streams/CObject.h"

namespace tolmi {

class DecoderSpecifiInfoWrapper : public CObject {
public:
    explicit DecoderSpecifiInfoWrapper(std::span<const uint8_t> info) : info_(info) {}

    const uint8_t* data() const { return info_.data(); }
    size_t size() const { return info_.size(); }
    std::span<const uint8_t> bytes() const { return info_; }

private:
    std::span<const uint8_t> info_;
};

}  // namespace tolmi
