#pragma once
// The sample description (stsd). It carries the reference's description
// into the rebuilt file byte for byte (image holds the atom as read), and
// reads enough of its entries to tell the engine what to look for: the
// coder format, the NAL length size, the parameter sets, the AAC
// configuration. Reading an entry also sets videoCoderFormat or
// audioCoderFormat of the session.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "container/AtomArena.h"
#include "container/CAudioSampleDescriptionEntery.h"
#include "container/CVideoSampleDescriptionEntery.h"
#include "streams/CObject.h"
#include "streams/DecoderSpecifiInfoWrapper.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CStsd : public CObject, public ImagedAtom {
public:
    CStsd() = default;
    CStsd(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // Bytes of the NAL length prefix: 4 for hvc1, 1 + the avcC field for
    // avc1; 0 unless coderFormat is one of those and the first entry is a
    // video entry (with its record, for avc1).
    uint32_t LengthSize() const;
    // CSPS or SPS_265, CPPS or PPS_265, CVPS of the first entry's record;
    // none on the same conditions as LengthSize. Owned by the record.
    const CObject* Sps() const;
    const CObject* Pps() const;
    const CObject* Vps() const;
    // A new wrapper (owned by arena) around the AudioSpecificConfig of the
    // first entry's esds; none unless coderFormat is mp4a.
    DecoderSpecifiInfoWrapper* AacConfig(AtomArena& arena) const;

    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::string coderFormat;  // of the last entry recognised
    std::vector<CObject*> entries;
    CVideoSampleDescriptionEntery* videoEntry = nullptr;  // the last video entry
    CAudioSampleDescriptionEntery* audioEntry = nullptr;  // the last audio entry

private:
    void ReadEntries(std::span<const uint8_t> atom, AtomArena& arena);
    bool TakeEntry(uint32_t format, std::span<const uint8_t> entry, AtomArena& arena);
    const CVideoSampleDescriptionEntery* FirstVideoEntry() const;
};

}  // namespace tolmi
