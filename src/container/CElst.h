#pragma once
// The edit list (elst). A reference's list plays no part in anything; a
// rebuilt video track gets a list of one edit.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CEditListEntry.h"

namespace tolmi {

class CElst {
public:
    CElst() = default;
    CElst(const uint8_t* bytes, uint32_t length, AtomArena& arena);
    virtual ~CElst() = default;

    // Takes the edits; size 12 x count + 16.
    void Build(const std::vector<CEditListEntry*>& edits);
    // Each edit's image is made anew as it is written.
    std::vector<uint8_t> ToBytes() const;

    uint32_t size = 0;
    uint32_t type = 0;
    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<CEditListEntry*> entries;
    std::vector<uint8_t> image;
};

}  // namespace tolmi
