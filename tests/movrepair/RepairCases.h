#pragma once
// The damaged camera-like files of the end-to-end tests: a healthy reference
// and a second recording made with the same encoder settings, damaged in the
// ways cameras and crashes damage them.

#include <cstdint>
#include <ostream>
#include <optional>
#include <string>
#include <vector>

#include "MovFixtures.h"

namespace tolmi::test {

enum class Damage {
    EndCutOff,        // the recording stopped short: the moov behind the media data is gone
    MediaCutOff,      // the recording stopped short within its media data (which may follow padding)
    RandomStretch,    // the file's own moov stands, 20,000 random bytes lie in its media data
    MoovZeroed,       // the moov was overwritten with zeros in place
    GarbageInserted,  // end cut off, and 300,000 random bytes were written into the media data
};

struct RepairCase {
    std::string label;
    MovRecipe recipe;
    Damage damage;
};

// Bytes [begin, end) of the recording no longer stand in the damaged file as they did.
struct DamagedRange {
    uint64_t begin = 0, end = 0;
    bool Spoils(const PacketRecord& p) const { return p.pos < end && p.pos + p.size > begin; }
};

struct DamagedInput {
    std::string reference;    // the healthy recording with the same settings
    std::string recording;    // the recording before the damage
    std::string damaged;      // in the folder given
    std::string movieSource;  // what the engine takes as its reference
    DamagedRange range;
};

// Test names show the label.
inline void PrintTo(const RepairCase& c, std::ostream* out) { *out << c.label; }

// The cases the engine is tried on end to end.
std::vector<RepairCase> EndToEndCases();

// Makes the damaged file of c in dir; nothing when ffmpeg is missing or fails.
std::optional<DamagedInput> MakeDamagedInput(const RepairCase& c, const std::string& dir);
// Damages recording (whose extension is given) into dir; reference is the
// healthy file with the same settings.
std::optional<DamagedInput> DamageRecording(const std::string& recording, const std::string& reference,
                                            Damage damage, const std::string& extension, const std::string& dir);

}  // namespace tolmi::test
