// Times the MOV engine inside this process on one damaged file, without
// the start and the save of a whole program:
//
//   tolmi-bench-reading DAMAGED REFERENCE WORKDIR
//
// Prints the seconds of the scan and the rebuild, and the rebuilt file's
// size; WORKDIR serves as the program's folder and receives "$tmp".

#include <chrono>
#include <cstdio>

#include "EngineRun.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

int main(int argc, char** argv) {
    using namespace tolmi;
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s DAMAGED REFERENCE WORKDIR\n", argv[0]);
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    test::EngineRun run = test::RunMovEngine(argv[1], argv[2], argv[3]);
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
