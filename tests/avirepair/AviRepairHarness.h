#pragma once
// Runs the AVI pass on bytes or on a file, each test in a module folder of
// its own, and reads back what it left.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AviFixtures.h"
#include "ScriptedUi.h"
#include "TestSupport.h"

namespace tolmi::test {

struct AviOutcome {
    int result = -1;
    bool outputExists = false;
    std::vector<uint8_t> bytes;
    RepairedAvi avi;
};

// A front end that can press Cancel when the progress reaches a figure.
class CancellingUi : public ScriptedUi {
public:
    int cancelAtPercent = -1;
    void onAviProgress() override;
};

class AviRepairTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Writes bytes to a file named name outside "$tmp" and repairs it.
    AviOutcome RepairBytes(const std::vector<uint8_t>& input, const std::string& name = "damaged.avi");
    AviOutcome RepairFile(const std::string& path);

    std::string TmpFile(const std::string& name) const;
    bool AnyPassFileLeft() const;

    TempDir dir_;
    CancellingUi ui_;
};

}  // namespace tolmi::test
