#include "RepairCases.h"

#include <random>

#include "TestSupport.h"

namespace tolmi::test {
namespace {

// Writes the first keepBytes bytes of source with length random bytes put in at offset.
void CopyCutWithGarbage(const std::string& source, const std::string& target, uint64_t keepBytes,
                        uint64_t offset, uint64_t length, uint32_t seed) {
    std::vector<uint8_t> bytes = ReadAll(source);
    bytes.resize(std::min<uint64_t>(keepBytes, bytes.size()));
    std::vector<uint8_t> garbage(length);
    std::mt19937 random(seed);
    for (uint8_t& b : garbage) b = uint8_t(random());
    bytes.insert(bytes.begin() + std::ptrdiff_t(std::min<uint64_t>(offset, bytes.size())), garbage.begin(),
                 garbage.end());
    WriteAll(target, bytes);
}

}  // namespace

std::vector<RepairCase> EndToEndCases() {
    return {{"H264BAacMp4Cut", H264AacRecipe("mp4", true), Damage::EndCutOff},
            {"H264BAacMovCut", H264AacRecipe("mov", true), Damage::EndCutOff},
            {"H264AacMp4Cut", H264AacRecipe("mp4", false), Damage::EndCutOff},
            {"H265AacMp4Cut", H265AacRecipe(), Damage::EndCutOff},
            {"H264SowtMovCut", H264PcmRecipe(false), Damage::EndCutOff},
            {"H264TwosMovCut", H264PcmRecipe(true), Damage::EndCutOff},
            {"H264OnlyMp4Cut", H264OnlyRecipe(), Damage::EndCutOff},
            {"H264BAacMp4RandomStretch", H264AacRecipe("mp4", true), Damage::RandomStretch},
            {"H264BAacMp4MoovZeroed", H264AacRecipe("mp4", true), Damage::MoovZeroed},
            {"H264BAacMp4GarbageInserted", H264AacRecipe("mp4", true), Damage::GarbageInserted}};
}

std::optional<DamagedInput> MakeDamagedInput(const RepairCase& c, const std::string& dir) {
    const std::string reference = MakeMovReference(c.recipe);
    const std::string recording = MakeMovRecording(c.recipe);
    if (reference.empty() || recording.empty()) return std::nullopt;
    return DamageRecording(recording, reference, c.damage, c.recipe.extension, dir);
}

std::optional<DamagedInput> DamageRecording(const std::string& recording, const std::string& reference,
                                            Damage damage, const std::string& extension, const std::string& dir) {
    DamagedInput input;
    input.reference = reference;
    input.recording = recording;
    input.damaged = dir + "/damaged." + extension;
    input.movieSource = input.reference;
    const uint64_t size = ReadAll(input.recording).size();
    switch (damage) {
    case Damage::EndCutOff:
        input.range = {size * 7 / 10, size};
        CopyCut(input.recording, input.damaged, input.range.begin);
        break;
    case Damage::MediaCutOff: {
        auto mdat = FindTopLevelAtom(input.recording, "mdat");
        if (!mdat) return std::nullopt;
        input.range = {mdat->offset + mdat->size * 7 / 10, size};
        CopyCut(input.recording, input.damaged, input.range.begin);
        break;
    }
    case Damage::RandomStretch: {
        auto mdat = FindTopLevelAtom(input.recording, "mdat");
        if (!mdat) return std::nullopt;
        input.range.begin = mdat->offset + mdat->size * 45 / 100;
        input.range.end = input.range.begin + 20000;
        CopyWithRandomStretch(input.recording, input.damaged, input.range.begin, 20000, 7);
        input.movieSource = input.damaged;  // its own moov serves as the reference
        break;
    }
    case Damage::MoovZeroed:
        if (!CopyWithZeroedAtom(input.recording, input.damaged, "moov")) return std::nullopt;
        break;
    case Damage::GarbageInserted: {
        auto mdat = FindTopLevelAtom(input.recording, "mdat");
        if (!mdat) return std::nullopt;
        // Packets behind the garbage lie elsewhere now; only those in front keep their place.
        input.range = {std::min(mdat->offset + mdat->size / 2, size * 8 / 10), size};
        CopyCutWithGarbage(input.recording, input.damaged, size * 8 / 10, input.range.begin, 300000, 9);
        break;
    }
    }
    return input;
}

}  // namespace tolmi::test
