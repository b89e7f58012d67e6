#include "avirepair/CRepairAVI.h"

#include "avirepair/AviPass.h"

namespace tolmi {

CRepairAVI::CRepairAVI() {
    RepairSession& s = Session();
    s.aviPercent = 0;
    for (File* file : {&s.aviInputFile, &s.aviOutputFile, &s.aviIndexFile, &s.aviImageFile}) file->close();
}

int CRepairAVI::Repair() {
    // All state of a pass lives in the pass.
    AviPass pass;
    return pass.Run();
}

}  // namespace tolmi
