#include "container/CStbl.h"

#include "container/AtomSupport.h"

namespace tolmi {

namespace {

// When a known child's size counts towards knownChildBytes: before the
// fit test (a child that does not fit spoils the sum) or after it.
enum class SizeRule { Unknown, BeforeFit, AfterFit };

SizeRule RuleFor(uint32_t type) {
    switch (type) {
    case FourCC("stsd"): case FourCC("stts"): case FourCC("stss"): case FourCC("stsc"):
    case FourCC("stsz"): case FourCC("stco"): case FourCC("co64"): case FourCC("ctts"):
    case FourCC("sdtp"):
        return SizeRule::BeforeFit;
    case FourCC("cslg"): case FourCC("sdps"): case FourCC("sgpd"): case FourCC("sbgp"):
    case FourCC("csgm"): case FourCC("free"):
        return SizeRule::AfterFit;
    default:
        return SizeRule::Unknown;
    }
}

// Samples of a PCM track written one byte a sample: the chunk count times
// the samples per chunk of the first row.
uint32_t PcmSampleCount(size_t chunkCount, const std::vector<CSampleToChunkEntery*>& rows) {
    const uint64_t perChunk = rows.empty() ? 0 : rows.front()->samplesPerChunk;
    return uint32_t(uint64_t(chunkCount) * perChunk);
}

}  // namespace

CStbl::CStbl(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    CatchAll([&] {
        ReadHeader(bytes, length);
        std::span<const uint8_t> atom(bytes, length);
        for (ChildSearch search(atom, 8); search.More();) {
            const SizeRule rule = RuleFor(search.Type());
            if (rule == SizeRule::Unknown) {
                search.Step();
                continue;
            }
            if (rule == SizeRule::BeforeFit) knownChildBytes += search.SizeField();
            if (!search.Fits()) {
                search.Step();
                continue;
            }
            if (rule == SizeRule::AfterFit) knownChildBytes += search.SizeField();
            ReadChild(search.Type(), search.Child(), arena);
            search.Pass();
        }
    });
}

void CStbl::ReadChild(uint32_t childType, std::span<const uint8_t> child, AtomArena& arena) {
    const uint8_t* bytes = child.data();
    const uint32_t length = uint32_t(child.size());
    switch (childType) {
    case FourCC("stsd"): stsd = arena.Make<CStsd>(bytes, length, arena); break;
    case FourCC("stts"): stts = arena.Make<CStts>(bytes, length, arena); break;
    case FourCC("stss"): stss = arena.Make<CStss>(bytes, length); break;
    case FourCC("stsc"): stsc = arena.Make<CStsc>(bytes, length, arena); break;
    case FourCC("stsz"): stsz = arena.Make<CStsz>(bytes, length); break;
    case FourCC("stco"): stco = arena.Make<CStco>(bytes, length, false); break;
    case FourCC("co64"): stco = arena.Make<CStco>(bytes, length, true); break;
    case FourCC("ctts"): ctts = arena.Make<CCtts>(bytes, length, arena); break;
    default: break;  // counted towards the sum, not kept
    }
}

CStbl* CStbl::BuildSampleTable(const CAtomCreationRequest& request, AtomArena& arena) {
    if (!stsd) return nullptr;
    CStbl* built = arena.Make<CStbl>();
    built->type = type;
    built->stsd = stsd;  // shared: its image is the reference's stsd byte for byte
    built->stco = arena.Make<CStco>();
    built->stco->Build(request.chunkOffsets);
    built->stsc = arena.Make<CStsc>();
    built->ctts = arena.Make<CCtts>();
    built->stss = arena.Make<CStss>();
    built->stsz = arena.Make<CStsz>();
    built->stts = arena.Make<CStts>();
    if (!BuildChunkTables(request, *built)) return nullptr;

    TakeVideoTables(request, *built);
    uint32_t duration = TruncLow32(double(request.timeScale) / request.sampleRate);
    if (duration == 0) duration = SameWord(request.requestKind, kVideoRequest) ? 1 : 1024;
    built->stts->Build(built->stsz->count, duration, arena);

    built->SetImage(built->ToBytes());
    return built;
}

// stsc and stsz by the coder format: big-endian PCM keeps the reference's
// chunk layout unless the engine counted its chunks, PCM is counted one
// byte a sample, everything else takes the engine's rows and sizes.
bool CStbl::BuildChunkTables(const CAtomCreationRequest& request, CStbl& built) {
    const size_t chunkCount = request.chunkOffsets.size();
    const bool twos = SameWord(stsd->coderFormat, kTwosFormat);
    if (twos && request.chunkEntries.empty()) {
        if (!stsc) return false;
        built.stsc = stsc;
        built.stsc->Rewrite();
        built.stsz->BuildByConstant(PcmSampleCount(chunkCount, stsc->entries), 1);
        return true;
    }
    built.stsc->Build(request.chunkEntries);
    if (!twos && !SameWord(stsd->coderFormat, kSowtFormat)) built.stsz->BuildByList(request.sampleSizes);
    else if (!request.chunkEntries.empty()) built.stsz->BuildByConstant(PcmSampleCount(chunkCount, request.chunkEntries), 1);
    else built.stsz->BuildByList({});  // no PCM found: an empty, well-formed table
    return true;
}

// ctts and stss of a rebuilt video track.
void CStbl::TakeVideoTables(const CAtomCreationRequest& request, CStbl& built) {
    if (!SameWord(request.requestKind, kVideoRequest)) return;
    // A reference ctts whose count does not match its table (its image is
    // not as long as the atom) is left out.
    if (ctts && ctts->count > 1 && ctts->image.size() == ctts->size) built.ctts = ctts;
    if (stss) {
        const uint32_t interval = stss->sampleNumbers.size() >= 2 ? stss->sampleNumbers[1] : 2;
        built.stss->Build(built.stsz->count, interval);
    }
}

std::vector<uint8_t> CStbl::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        for (const std::vector<uint8_t>* child :
             {&stsd->image, &stss->image, &ctts->image, &stts->image, &stsc->image, &stsz->image, &stco->image})
            out.bytes(*child);
    });
}

}  // namespace tolmi
