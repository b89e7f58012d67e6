#pragma once
// One data reference of dref. A rebuilt one is an alis entry of 12 bytes
// with flags 1: the media data is in this file.

#include <cstdint>
#include <vector>
#include "container/AtomSupport.h"

namespace tolmi {

class CDrefentry : public ImagedAtom {
public:
    CDrefentry() = default;
    CDrefentry(const uint8_t* bytes, uint32_t length);

    void Build(uint32_t dataReferenceType);
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
};

}  // namespace tolmi
