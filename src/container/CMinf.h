#pragma once
// The media information (minf). Reading it tests the sample table: a minf
// keeps its stbl only if the stbl consists of known children alone, and a
// track without one is no track. A rebuilt minf holds vmhd or smhd, a data
// handler, the 36-byte dinf and the new stbl, in that order.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "container/AtomArena.h"
#include "container/CAtomCreationRequest.h"
#include "container/CDinf.h"
#include "container/CGmhd.h"
#include "container/CGmin.h"
#include "container/CHdlr.h"
#include "container/CSmhd.h"
#include "container/CStbl.h"
#include "container/CVmhd.h"
#include "streams/CObject.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CMinf : public CObject, public ImagedAtom {
public:
    CMinf() = default;
    CMinf(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // On the minf of a reference track: the minf of the rebuilt track, or
    // none when its sample table cannot be built.
    CMinf* BuildMediaInformation(const CAtomCreationRequest& request, const std::string& requestKind,
                                 AtomArena& arena);
    std::vector<uint8_t> ToBytes() const;

    std::string mediaKind;  // from the header at offset 8; empty without one
    CVmhd* vmhd = nullptr;
    CSmhd* smhd = nullptr;
    CGmhd* gmhd = nullptr;
    CGmin* gmin = nullptr;
    CHdlr* hdlr = nullptr;
    CDinf* dinf = nullptr;
    CStbl* stbl = nullptr;
    // The media information header of a rebuilt minf: a CVmhd or a CSmhd.
    CObject* mediaHeader = nullptr;

private:
    size_t ReadMediaHeader(std::span<const uint8_t> atom, AtomArena& arena);
    void ReadSampleTable(std::span<const uint8_t> child, AtomArena& arena);
};

}  // namespace tolmi
