// Times the MOV engine inside this process on one damaged file, with the
// fast reading or with the straightforward one that is kept to check it
// against, so that the benchmark can set the two beside each other:
//
//   tolmi-bench-reading fast|straightforward DAMAGED REFERENCE WORKDIR
//
// Prints the seconds of the scan and the rebuild, and the rebuilt file's
// size; WORKDIR serves as the program's folder and receives "$tmp".

#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>

#include "EngineRun.h"
#include "movrepair/MovRepairState.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

int main(int argc, char** argv) {
    using namespace tolmi;
    const bool valid = argc == 5 && (!std::strcmp(argv[1], "fast") || !std::strcmp(argv[1], "straightforward"));
    if (!valid) {
        std::fprintf(stderr, "usage: %s fast|straightforward DAMAGED REFERENCE WORKDIR\n", argv[0]);
        return 2;
    }
    MovState().straightforwardReading = !std::strcmp(argv[1], "straightforward");
    const auto start = std::chrono::steady_clock::now();
    test::EngineRun run = test::RunMovEngine(argv[2], argv[3], argv[4]);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    if (run.output.empty()) {
        std::fprintf(stderr, "no rebuilt file (the reference has %s movie)\n", run.referenceHasMovie ? "a" : "no");
        return 1;
    }
    const uint64_t size = File(run.output, FileAccess::Read, FileCreation::OpenExisting).size().value_or(0);
    DeleteFilePath(run.output);
    std::printf("%.4f %llu\n", seconds.count(), static_cast<unsigned long long>(size));
    return 0;
}
