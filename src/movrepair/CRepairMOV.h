#pragma once
// The MOV/MP4 repair engine. The damaged file is not read as a container:
// the scan walks it byte by byte for chains of NAL units that agree with the
// healthy reference and takes what lies between them as audio; the writer
// copies what was found into one mdat and puts a movie rebuilt from the
// reference behind it.

#include <string>

#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi {

class DamagedFile;

class CRepairMOV : public RepairEngine {
public:
    // Clears the repair record and the failure flag of the job.
    CRepairMOV();

    // The path that WriteRepairedFile will be given. When it is known
    // before the scan, the scan writes the samples into it as it finds them,
    // so that copying and the disk's work overlap the search.
    void SetOutputPath(std::string tempPath);

    // Finds the video and audio samples of Session().corruptedPath with the
    // help of Session().referenceFile; leaves them in MovState(). Does
    // nothing unless the reference's video is H.264 or H.265.
    void ScanMediaData();

    // Writes the rebuilt file at tempPath from the samples of damagedPath and
    // sets previewDescriptor. A failure shows the message and sets jobFailed.
    void WriteRepairedFile(std::string tempPath, std::string damagedPath);

private:
    void WriteSampleData(File& out, DamagedFile& in);
    void FinishMovie(File& out);
    // Shows the message of textKey and marks the job failed.
    void GiveUp(File& out, const char* textKey);
};

}  // namespace tolmi
