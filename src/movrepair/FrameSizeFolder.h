#pragma once
// The scan finds NAL units; stsz wants frames. Units that carry no picture
// of their own (SEI, PPS, access unit delimiter, and for H.265 unspecified
// units) wait and are folded into the size of the next frame, also across
// an audio run and into the next video run.

#include <cstdint>
#include <vector>

#include "movrepair/CSample.h"

namespace tolmi {

class FrameSizeFolder {
public:
    // Adds the sample's entry, if it has one, to the video or audio sizes.
    void Add(const CSample& sample, std::vector<uint32_t>& videoSizes, std::vector<uint32_t>& audioSizes);
    // Bytes waiting for the next frame.
    uint32_t carried() const { return carried_; }

private:
    uint32_t carried_ = 0;
};

}  // namespace tolmi
