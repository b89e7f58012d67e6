#pragma once
// The data information (dinf) and its dref. Every rebuilt track gets the
// same 36 bytes: one alis reference to the file itself.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CDref.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CDinf : public ImagedAtom {
public:
    CDinf() = default;
    CDinf(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    void Build(uint32_t dataReferenceType, AtomArena& arena);
    std::vector<uint8_t> ToBytes() const;

    CDref* dref = nullptr;
};

}  // namespace tolmi
