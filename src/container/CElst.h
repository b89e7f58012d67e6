#pragma once
// The edit list (elst). A reference's list plays no part in anything; a
// rebuilt video track gets a list of one edit.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CEditListEntry.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CElst : public ImagedAtom {
public:
    CElst() = default;
    CElst(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // Takes the edits.
    void Build(const std::vector<CEditListEntry*>& edits);
    // Each edit's image is made anew as it is written.
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<CEditListEntry*> entries;
};

}  // namespace tolmi
