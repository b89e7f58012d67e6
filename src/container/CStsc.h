#pragma once
// The sample-to-chunk table (stsc). A rebuilt table holds the rows that the
// engine's scan made, not copies of them; PCM audio in big-endian form
// keeps the reference's own table, written anew by Rewrite.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CSampleToChunkEntery.h"

namespace tolmi {

class CStsc {
public:
    CStsc() = default;
    // Reads the rows that lie inside the atom; makes no image.
    CStsc(const uint8_t* bytes, uint32_t length, AtomArena& arena);
    virtual ~CStsc() = default;

    // Takes the rows (the pointers, not copies of the rows); size 12 x count + 16.
    void Build(const std::vector<CSampleToChunkEntery*>& rows);
    // Makes image anew from the rows held; size follows the rows.
    void Rewrite();
    // Writes each row's image anew just before it uses it.
    std::vector<uint8_t> ToBytes();

    uint32_t size = 0;
    uint32_t type = 0;
    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<CSampleToChunkEntery*> entries;
    std::vector<uint8_t> image;
};

}  // namespace tolmi
