#pragma once
// The media (mdia): its header, handler and information. Reading it tells
// the kind of media and its rate (samples per second); a media without a
// sound minf is dropped by its track. A rebuilt media holds a new mdhd
// (time scale, language and quality of the reference, a duration worked
// out from the new sample count), a new handler and the rebuilt minf.

#include <cstdint>
#include <string>
#include <vector>

#include "container/AtomArena.h"
#include "container/CAtomCreationRequest.h"
#include "container/CHdlr.h"
#include "container/CMdhd.h"
#include "container/CMinf.h"
#include "container/CUdta.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CMdia : public ImagedAtom {
public:
    CMdia() = default;
    CMdia(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // On the mdia of a reference track: the mdia of the rebuilt track, or
    // none when its sample table cannot be built.
    CMdia* BuildMedia(const CAtomCreationRequest& request, const std::string& requestKind, AtomArena& arena);
    std::vector<uint8_t> ToBytes() const;

    std::string mediaKind;
    double rate = 0.0;  // time scale / duration x sample count
    CHdlr* hdlr = nullptr;
    CMinf* minf = nullptr;
    CMdhd* mdhd = nullptr;
    CUdta* udta = nullptr;

private:
    void SetMediaKind();
};

}  // namespace tolmi
