#include "AviDamagedClips.h"

#include <algorithm>
#include <random>

#include "AviFixtures.h"
#include "TestSupport.h"

namespace tolmi::test {

std::span<const Clip> AviClips() {
    static const Clip kClips[] = {
        {"avi-mpeg4-pcm.avi", "-c:v mpeg4 -q:v 4 -g 25 -c:a pcm_s16le"},
        {"avi-mjpeg-pcm.avi", "-c:v mjpeg -q:v 6 -pix_fmt yuvj420p -c:a pcm_s16le"},
        {"avi-xvid-mp3.avi", "-c:v mpeg4 -vtag XVID -q:v 4 -g 25 -c:a libmp3lame -b:a 64k"},
    };
    return kClips;
}

std::string MakeClip(const Clip& clip) {
    return MakeFixture(clip.name,
                       "-f lavfi -i testsrc=size=320x240:rate=25:duration=4 "
                       "-f lavfi -i sine=frequency=440:sample_rate=22050:duration=4 -ac 1 " +
                           std::string(clip.encode));
}

const char* DamageName(Damage damage) {
    static const char* const kNames[] = {"Intact", "CutAtEnd", "GarbageInMovi", "HeaderZeroed", "HeadGone"};
    return kNames[int(damage)];
}

std::pair<std::vector<uint8_t>, Stretch> Damaged(const std::vector<uint8_t>& source, Damage damage) {
    std::vector<uint8_t> bytes = source;
    const size_t movi = FindText(source, "movi");
    const size_t idx1 = FindText(source, "idx1", movi);
    switch (damage) {
        case Damage::Intact:
            return {bytes, {}};
        case Damage::CutAtEnd: {
            const size_t cut = movi + (idx1 - movi) * 7 / 10;
            bytes.resize(cut);
            return {bytes, {cut, UINT64_MAX}};
        }
        case Damage::GarbageInMovi: {
            const size_t at = movi + (idx1 - movi) / 2;
            std::mt19937 random(6);
            for (size_t i = at; i < at + 4096; ++i) bytes[i] = uint8_t(random());
            return {bytes, {at, at + 4096}};
        }
        case Damage::HeaderZeroed:
            // The hdrl list's own type and its whole avih chunk.
            std::fill(bytes.begin() + 20, bytes.begin() + 88, 0);
            return {bytes, {}};
        case Damage::HeadGone:
            // RIFF, hdrl and avih gone; the first stream list starts at 88.
            bytes.erase(bytes.begin(), bytes.begin() + 80);
            return {bytes, {}};
    }
    return {bytes, {}};
}

}  // namespace tolmi::test
