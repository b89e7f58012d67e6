#pragma once
// The data reference table (dref).

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CDrefentry.h"

namespace tolmi {

class CDref {
public:
    CDref() = default;
    // Reads the entries, each as long as its own size field says, while they lie inside the atom.
    CDref(const uint8_t* bytes, uint32_t length, AtomArena& arena);
    virtual ~CDref() = default;

    // One entry of that type; size 12 x count + 16.
    void Build(uint32_t dataReferenceType, AtomArena& arena);
    std::vector<uint8_t> ToBytes() const;

    uint32_t size = 0;
    uint32_t type = 0;
    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<CDrefentry*> entries;
    std::vector<uint8_t> image;
};

}  // namespace tolmi
