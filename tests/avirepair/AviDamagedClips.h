#pragma once
// Real AVI clips that ffmpeg makes at test time, and the damage done to them
// the ways crashes and copies damage files.

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace tolmi::test {

struct Clip {
    const char* name;
    const char* encode;  // ffmpeg arguments behind the two lavfi inputs
};

// MPEG-4 part 2 with PCM, Motion JPEG with PCM, XviD with MP3.
std::span<const Clip> AviClips();
// The clip's path in the fixture cache, made once; empty when ffmpeg fails.
std::string MakeClip(const Clip& clip);

enum class Damage { Intact, CutAtEnd, GarbageInMovi, HeaderZeroed, HeadGone };
inline constexpr Damage kAllDamages[] = {Damage::Intact, Damage::CutAtEnd, Damage::GarbageInMovi,
                                         Damage::HeaderZeroed, Damage::HeadGone};
const char* DamageName(Damage damage);

// The damaged stretch in the source's offsets: [begin, end).
struct Stretch {
    uint64_t begin = 0, end = 0;
};

// Damages source as told; returns the damaged bytes and the stretch lost.
std::pair<std::vector<uint8_t>, Stretch> Damaged(const std::vector<uint8_t>& source, Damage damage);

}  // namespace tolmi::test
