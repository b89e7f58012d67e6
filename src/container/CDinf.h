#pragma once
// The data information (dinf) and its dref. Every rebuilt track gets the
// same 36 bytes: one alis reference to the file itself.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CDref.h"

namespace tolmi {

class CDinf {
public:
    CDinf() = default;
    CDinf(const uint8_t* bytes, uint32_t length, AtomArena& arena);
    virtual ~CDinf() = default;

    void Build(uint32_t dataReferenceType, AtomArena& arena);
    std::vector<uint8_t> ToBytes() const;

    uint32_t size = 0;
    uint32_t type = 0;
    std::vector<uint8_t> image;
    CDref* dref = nullptr;
};

}  // namespace tolmi
