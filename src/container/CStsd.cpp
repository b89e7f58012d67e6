#include "container/CStsd.h"

#include "container/AtomSupport.h"
#include "streams/HVCDecoderConfigurationRecord.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

constexpr size_t kEntriesStart = 16;
constexpr size_t kEntryHeader = 8;

// The coder format of a video entry's format field.
const char* VideoFormatWord(uint32_t format) {
    if (format == FourCC("avc1")) return kAvc1Format;
    if (format == FourCC("hvc1")) return kHvc1Format;
    return kUnknownVideoFormat;
}

}  // namespace

CStsd::CStsd(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        image.assign(bytes, bytes + length);
        versionFlags = in.u32be();
        count = in.u32be();
        ReadEntries({bytes, length}, arena);
    });
}

// count repetitions. An entry of a format not known here leaves the
// position where it is, so every later repetition meets the same bytes and
// it hides all entries behind it; the walk ends as soon as a repetition
// changes nothing, which gives the same result.
void CStsd::ReadEntries(std::span<const uint8_t> atom, AtomArena& arena) {
    size_t position = kEntriesStart;
    for (uint32_t i = 0; i < count; ++i) {
        if (position + kEntryHeader > atom.size()) return;
        const uint32_t entrySize = LoadU32be(&atom[position]);
        if (entrySize > atom.size() - position) return;
        const uint32_t format = LoadU32be(&atom[position + 4]);
        if (!TakeEntry(format, atom.subspan(position, entrySize), arena)) return;
        // An entry shorter than its header would be met again and again.
        if (entrySize < kEntryHeader) return;
        position += entrySize;
    }
}

bool CStsd::TakeEntry(uint32_t format, std::span<const uint8_t> entry, AtomArena& arena) {
    RepairSession& session = Session();
    const uint32_t length = uint32_t(entry.size());
    if (format == FourCC("avc1") || format == FourCC("hvc1")) {
        videoEntry = arena.Make<CVideoSampleDescriptionEntery>(entry.data(), length, arena);
        entries.push_back(videoEntry);
        coderFormat = VideoFormatWord(format);
        session.videoCoderFormat = coderFormat;
        return true;
    }
    const char* audioFormat = format == FourCC("mp4a")   ? kMp4aFormat
                              : format == FourCC("sowt") ? kSowtFormat
                              : format == FourCC("twos") ? kTwosFormat
                                                         : nullptr;
    if (!audioFormat) return false;
    audioEntry = arena.Make<CAudioSampleDescriptionEntery>(entry.data(), length, arena);
    entries.push_back(audioEntry);
    coderFormat = audioFormat;
    session.audioCoderFormat = coderFormat;
    return true;
}

const CVideoSampleDescriptionEntery* CStsd::FirstVideoEntry() const {
    if (!SameWord(coderFormat, kAvc1Format) && !SameWord(coderFormat, kHvc1Format)) return nullptr;
    if (entries.empty()) return nullptr;
    return dynamic_cast<const CVideoSampleDescriptionEntery*>(entries.front());
}

uint32_t CStsd::LengthSize() const {
    const CVideoSampleDescriptionEntery* entry = FirstVideoEntry();
    if (!entry) return 0;
    if (SameWord(coderFormat, kHvc1Format)) return 4;
    return entry->avcConfig ? entry->avcConfig->lengthSize() : 0;
}

const CObject* CStsd::Sps() const {
    const CVideoSampleDescriptionEntery* entry = FirstVideoEntry();
    if (!entry) return nullptr;
    if (auto* avc = dynamic_cast<const CAVCDecoderConfigurationRecord*>(entry->decoderConfig)) return avc->sps();
    if (auto* hvc = dynamic_cast<const HVCDecoderConfigurationRecord*>(entry->decoderConfig)) return hvc->sps();
    return nullptr;
}

const CObject* CStsd::Pps() const {
    const CVideoSampleDescriptionEntery* entry = FirstVideoEntry();
    if (!entry) return nullptr;
    if (auto* avc = dynamic_cast<const CAVCDecoderConfigurationRecord*>(entry->decoderConfig)) return avc->pps();
    if (auto* hvc = dynamic_cast<const HVCDecoderConfigurationRecord*>(entry->decoderConfig)) return hvc->pps();
    return nullptr;
}

const CObject* CStsd::Vps() const {
    const CVideoSampleDescriptionEntery* entry = FirstVideoEntry();
    if (!entry) return nullptr;
    if (auto* hvc = dynamic_cast<const HVCDecoderConfigurationRecord*>(entry->decoderConfig)) return hvc->vps();
    return nullptr;
}

DecoderSpecifiInfoWrapper* CStsd::AacConfig(AtomArena& arena) const {
    if (!SameWord(coderFormat, kMp4aFormat) || entries.empty()) return nullptr;
    auto* entry = dynamic_cast<const CAudioSampleDescriptionEntery*>(entries.front());
    if (!entry || !entry->esds) return nullptr;
    return arena.Make<DecoderSpecifiInfoWrapper>(entry->esds->decoderSpecificInfo());
}

}  // namespace tolmi
