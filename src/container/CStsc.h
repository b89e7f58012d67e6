#pragma once
// The sample-to-chunk table (stsc). A rebuilt table holds the rows that the
// engine's scan made, not copies of them; PCM audio in big-endian form
// keeps the reference's own table, written anew by Rewrite.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CSampleToChunkEntery.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CStsc : public ImagedAtom {
public:
    CStsc() = default;
    // Reads the rows that lie inside the atom; makes no image.
    CStsc(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // Takes the rows (the pointers, not copies of the rows).
    void Build(const std::vector<CSampleToChunkEntery*>& rows);
    // Makes image anew from the rows held (a table read from a file may
    // hold fewer rows than its count says).
    void Rewrite();
    // Writes each row's image anew just before it uses it.
    std::vector<uint8_t> ToBytes();

    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<CSampleToChunkEntery*> entries;
};

}  // namespace tolmi
