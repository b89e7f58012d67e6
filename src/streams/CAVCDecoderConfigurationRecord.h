#pragma once
// The avcC atom of an avc1 sample entry: the size of the NAL length
// prefix and one SPS and one PPS (the last of each kind when there are
// several), copied out of the atom and parsed.

#include <cstdint>
#include <memory>
#include <vector>

#include "streams/CObject.h"
#include "streams/CPPS.h"
#include "streams/CSPS.h"

namespace tolmi {

class CAVCDecoderConfigurationRecord : public CObject {
public:
    // `atom` holds the whole atom, size and type fields included.
    CAVCDecoderConfigurationRecord(const uint8_t* atom, uint32_t size);

    // Bytes of the length prefix in front of each NAL unit: 1 to 4.
    uint32_t lengthSize() const { return uint32_t(lengthSizeMinusOne) + 1; }
    // Null when the atom holds no entry of that kind that fits.
    const CSPS* sps() const { return spsObject.get(); }
    const CPPS* pps() const { return ppsObject.get(); }

    uint32_t atomSize = 0;  // the size given by the caller
    uint32_t atomType = 0;
    uint32_t numOfSequenceParameterSets = 0;
    uint8_t configurationVersion = 0;
    uint8_t AVCProfileIndication = 0;
    uint8_t profile_compatibility = 0;
    uint8_t AVCLevelIndication = 0;
    uint8_t lengthSizeMinusOne = 0;
    uint8_t numOfPictureParameterSets = 0;
    uint16_t spsLength = 0;
    uint16_t ppsLength = 0;
    std::vector<uint8_t> spsBytes;
    std::vector<uint8_t> ppsBytes;
    std::unique_ptr<CSPS> spsObject;
    std::unique_ptr<CPPS> ppsObject;
};

}  // namespace tolmi
