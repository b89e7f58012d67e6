#pragma once
// A handler reference (hdlr): the media handler of mdia (mhlr with vide or
// soun) or the data handler of minf (component type 0, subtype dhlr). The
// reader stops before the name, which nothing uses.

#include <cstdint>
#include <vector>
#include "container/AtomSupport.h"

namespace tolmi {

class CHdlr : public ImagedAtom {
public:

    CHdlr() = default;
    CHdlr(const uint8_t* bytes, uint32_t length);

    void Build(uint32_t newComponentType, uint32_t newComponentSubtype, uint8_t newNameLength, uint8_t newName);
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t componentType = 0;
    uint32_t componentSubtype = 0;
    uint32_t componentManufacturer = 0;
    uint32_t componentFlags = 0;
    uint32_t componentFlagsMask = 0;
    uint8_t nameLength = 0;
    uint8_t name = 0;
};

}  // namespace tolmi
