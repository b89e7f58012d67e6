#pragma once
// The sample table (stbl): where a repair happens in the atom tree.
// Reading it decides whether a track of a healthy file can serve as a
// model; building it turns a CAtomCreationRequest into the tables of a
// rebuilt track.

#include <cstdint>
#include <span>
#include <vector>

#include "container/AtomArena.h"
#include "container/CAtomCreationRequest.h"
#include "container/CCtts.h"
#include "container/CStco.h"
#include "container/CStsc.h"
#include "container/CStsd.h"
#include "container/CStss.h"
#include "container/CStsz.h"
#include "container/CStts.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CStbl : public ImagedAtom {
public:
    CStbl() = default;
    CStbl(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // On the stbl of a reference track: the tables of the rebuilt track.
    // None when the reference lacks a table the rebuild must take from it
    // (stsd, or stsc for big-endian PCM).
    CStbl* BuildSampleTable(const CAtomCreationRequest& request, AtomArena& arena);

    // The sizes of the known children added up as they were read: this
    // + 8 equals size exactly when the table holds nothing but the fifteen
    // kinds of child that the reader knows (the minf reader's health test).
    uint32_t knownChildBytes = 0;
    CStsd* stsd = nullptr;
    CStts* stts = nullptr;
    CStss* stss = nullptr;
    CStsc* stsc = nullptr;
    CStsz* stsz = nullptr;
    CStco* stco = nullptr;
    CCtts* ctts = nullptr;

private:
    void ReadChild(uint32_t childType, std::span<const uint8_t> child, AtomArena& arena);
    bool BuildChunkTables(const CAtomCreationRequest& request, CStbl& built);
    void TakeVideoTables(const CAtomCreationRequest& request, CStbl& built);
    // Only for a built table, whose seven children all exist.
    std::vector<uint8_t> ToBytes() const;
};

}  // namespace tolmi
