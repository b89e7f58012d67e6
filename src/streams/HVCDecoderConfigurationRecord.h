#pragma once
// The hvcC atom of an hvc1 sample entry. Its arrays are not walked by
// their headers: each byte that looks like the first header byte of a VPS,
// SPS or PPS is taken for one, with its count and length in the bytes in
// front of it. The length prefix of H.265 samples counts as 4 bytes
// whatever the record says.

#include <cstdint>
#include <memory>

#include "streams/CObject.h"
#include "streams/CVPS.h"
#include "streams/PPS_265.h"
#include "streams/SPS_265.h"

namespace tolmi {

class HVCDecoderConfigurationRecord : public CObject {
public:
    // `atom` holds the whole atom, size and type fields included; width and
    // height are those of the visual sample entry and find the SPS's
    // picture size. Fails when the atom is below 30 bytes or holds fewer
    // than 3 arrays; a parameter set that fails its parse is left null.
    bool Parse(const uint8_t* atom, uint32_t size, int32_t width, int32_t height);

    const CVPS* vps() const { return vpsObject.get(); }
    const SPS_265* sps() const { return spsObject.get(); }
    const PPS_265* pps() const { return ppsObject.get(); }

    uint32_t atomSize = 0;
    uint32_t atomType = 0;
    uint8_t numOfArrays = 0;
    // The count and length of the last unit of each kind, as the atom gives them.
    uint32_t numVps = 0, vpsLength = 0;
    uint32_t numSps = 0, spsLength = 0;
    uint32_t numPps = 0, ppsLength = 0;
    std::unique_ptr<CVPS> vpsObject;
    std::unique_ptr<SPS_265> spsObject;
    std::unique_ptr<PPS_265> ppsObject;

private:
    void ParseUnit(int type, const uint8_t* nal, uint32_t length, int32_t width, int32_t height);
};

}  // namespace tolmi
