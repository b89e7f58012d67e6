#pragma once
// Copies samples behind each other into the repaired file. Samples that
// follow each other in the damaged file too (the units of a chain, the
// frames of an audio run) are gathered into one extent, read and written in
// pieces through one reused buffer, so a run costs a few system calls
// instead of two per sample. Bytes that cannot be read are written as zeros.

#include <cstdint>
#include <vector>

#include "movrepair/CSample.h"
#include "movrepair/DamagedFile.h"
#include "platform/File.h"

namespace tolmi {

class SampleCopier {
public:
    // outputEnd: where the first sample goes.
    SampleCopier(DamagedFile& in, File& out, uint64_t outputEnd);

    // The end of the output once everything handed over is written.
    uint64_t outputEnd() const { return outputEnd_; }

    // False when the job was stopped during a long copy.
    bool Add(const CSample& sample);
    // Counts a sample whose bytes are in place already; false as Add.
    bool Pass(const CSample& sample);
    // Writes what is gathered; false when the job was stopped meanwhile
    // or a write failed.
    bool Flush();
    // A write failed (a full disk); every later call gives false.
    bool Failed() const { return failed_; }

private:
    bool Fail();
    void StartWriteBack();

    DamagedFile& in_;
    File& out_;
    uint64_t outputEnd_;
    uint64_t pendingOffset_ = 0;
    uint64_t pendingLength_ = 0;
    // The output below this point has been handed to the disk.
    uint64_t writeBackFrom_;
    std::vector<uint8_t> piece_;
    bool failed_ = false;
};

}  // namespace tolmi
