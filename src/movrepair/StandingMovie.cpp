#include "movrepair/StandingMovie.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "container/AtomArena.h"
#include "container/AtomSupport.h"
#include "container/CMdia.h"
#include "container/CMinf.h"
#include "container/CMoov.h"
#include "container/CStbl.h"
#include "container/CStco.h"
#include "container/CStsc.h"
#include "container/CStsd.h"
#include "container/CStsz.h"
#include "container/CTrak.h"
#include "container/GFile.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// The top-level atoms looked at in front of the media data, at most.
constexpr int kAtomsInFront = 64;
// A movie larger than this is not read.
constexpr uint64_t kLargestMovie = 64ull << 20;
// A picture of more NAL units than this does not check out.
constexpr int kUnitsInPicture = 1024;
// The samples taken of one track at most, so that tables that claim
// billions of samples cost neither the memory nor the time.
constexpr uint32_t kMostSamples = 1u << 20;

uint64_t BigEndian(const uint8_t* bytes, size_t count) {
    uint64_t value = 0;
    for (size_t i = 0; i < count; ++i) value = (value << 8) | bytes[i];
    return value;
}

// The bytes of the moov that stands wholly inside the file in front of its
// mdat; empty when there is none.
std::vector<uint8_t> MovieInFront(DamagedFile& file) {
    uint64_t position = 0;
    for (int i = 0; i < kAtomsInFront && position + 16 <= file.size(); ++i) {
        // The movie's test looks at the header of its first child too.
        uint8_t header[24] = {};
        if (file.read(position, header, sizeof header) < 16) break;
        uint64_t size = BigEndian(header, 4);
        if (size == 1) size = BigEndian(header + 8, 8);
        if (std::equal(header + 4, header + 8, "mdat") || size < 8 || size > file.size() - position) break;
        if (std::equal(header + 4, header + 8, "moov") && size <= kLargestMovie && GFile::IsMovieStart(header)) {
            std::vector<uint8_t> movie(size);
            if (file.read(position, movie.data(), movie.size()) == movie.size()) return movie;
            break;
        }
        position += size;
    }
    return {};
}

// Reading a movie leaves its formats in the session; the reference's stay.
const CMoov* ParseKeepingSession(const std::vector<uint8_t>& bytes, AtomArena& arena) {
    RepairSession& s = Session();
    const std::string video = s.videoCoderFormat, audio = s.audioCoderFormat;
    const CMoov* movie = arena.Make<CMoov>(bytes.data(), uint32_t(bytes.size()), arena);
    s.videoCoderFormat = video;
    s.audioCoderFormat = audio;
    return movie;
}

const CStbl* TrackTable(const CMoov& movie, const char* kind, const char* format) {
    for (const CTrak* track : movie.tracks) {
        if (!SameWord(track->trackKind, kind)) continue;
        const CStbl* table = track->mdia && track->mdia->minf ? track->mdia->minf->stbl : nullptr;
        const bool usable = table && table->stco && table->stsc && table->stsz && table->stsd &&
                            SameWord(table->stsd->coderFormat, format);
        return usable ? table : nullptr;
    }
    return nullptr;
}

// The chunks of a track as its tables describe them, samples of type type,
// up to the first sample that lies past fileSize.
void AddChunks(const CStbl& table, bool video, const char* type, uint64_t fileSize,
               std::vector<StandingChunk>& chunks) {
    const std::vector<CSampleToChunkEntery*>& rows = table.stsc->entries;
    const CStsz& sizes = *table.stsz;
    size_t row = 0;
    uint32_t sample = 0;
    for (uint32_t chunk = 1; chunk <= table.stco->offsets.size(); ++chunk) {
        while (row + 1 < rows.size() && rows[row + 1]->firstChunk <= chunk) ++row;
        if (rows.empty() || rows[row]->firstChunk > chunk) return;
        StandingChunk standing{video, {}};
        uint64_t offset = table.stco->offsets[chunk - 1];
        for (uint32_t i = 0; i < rows[row]->samplesPerChunk && sample < std::min(sizes.count, kMostSamples);
             ++i, ++sample) {
            const uint64_t size = sizes.sampleSize ? sizes.sampleSize
                                  : sample < sizes.sizes.size() ? sizes.sizes[sample]
                                                                : 0;
            if (size == 0 || offset > fileSize || size > fileSize - offset) {
                if (!standing.samples.empty()) chunks.push_back(std::move(standing));
                return;
            }
            standing.samples.push_back(std::make_unique<CSample>(offset, size, type));
            offset += size;
        }
        if (!standing.samples.empty()) chunks.push_back(std::move(standing));
    }
}

bool LiesInside(DamagedFile& file, const CSample& sample) {
    return sample.offset <= file.size() && sample.size <= file.size() - sample.offset;
}

// Whether the picture lies inside the file and its NAL units, length by
// length, fill it exactly.
bool PictureChecksOut(DamagedFile& file, const CSample& picture, uint8_t lengthSize) {
    if (lengthSize == 0 || lengthSize > 4 || !LiesInside(file, picture)) return false;
    const uint64_t end = picture.offset + picture.size;
    uint64_t position = picture.offset;
    for (int unit = 0; unit < kUnitsInPicture && position < end; ++unit) {
        uint8_t prefix[5] = {};
        if (end - position < lengthSize + 1u || file.read(position, prefix, lengthSize + 1u) != lengthSize + 1u)
            return false;
        const uint64_t length = BigEndian(prefix, lengthSize);
        // The forbidden bit of the unit's header is 0.
        if (length == 0 || (prefix[lengthSize] & 0x80) != 0) return false;
        position += lengthSize + length;
    }
    return position == end;
}

// Where the samples taken end and where the walk begins: where the pictures
// that check out end, up to the first that does not. When that one lies
// wholly inside the file, damage stands between the two, and the picture in
// front, whose first unit alone may have checked out, is neither taken nor
// walked through.
std::pair<uint64_t, uint64_t> CheckedEnd(DamagedFile& file, uint8_t lengthSize,
                                         const std::vector<StandingChunk>& chunks) {
    uint64_t end = 0, lastStart = 0;
    for (const StandingChunk& chunk : chunks) {
        if (!chunk.video) continue;
        for (const auto& picture : chunk.samples) {
            if (!PictureChecksOut(file, *picture, lengthSize))
                return {LiesInside(file, *picture) ? lastStart : end, end};
            lastStart = picture->offset;
            end = picture->offset + picture->size;
        }
    }
    return {end, end};
}

// Cuts the chunks at end.
void KeepInFront(uint64_t end, std::vector<StandingChunk>& chunks) {
    for (StandingChunk& chunk : chunks)
        std::erase_if(chunk.samples, [&](const auto& sample) { return sample->offset + sample->size > end; });
    std::erase_if(chunks, [](const StandingChunk& chunk) { return chunk.samples.empty(); });
}

}  // namespace

StandingSamples ReadStandingMovie(DamagedFile& file, uint8_t lengthSize) {
    const RepairSession& s = Session();
    // PCM chunks are walked as the damaged file has them.
    const bool aac = SameWord(s.audioCoderFormat, kMp4aFormat);
    if (!aac && !s.audioCoderFormat.empty()) return {};
    const std::vector<uint8_t> bytes = MovieInFront(file);
    if (bytes.empty()) return {};
    AtomArena arena;
    const CMoov* movie = ParseKeepingSession(bytes, arena);
    const CStbl* video = TrackTable(*movie, kVideoTrack, s.videoCoderFormat.c_str());
    if (!video) return {};
    StandingSamples standing;
    AddChunks(*video, true, SameWord(s.videoCoderFormat, kHvc1Format) ? "HVC1" : "AVC1", file.size(),
              standing.chunks);
    if (const CStbl* audio = aac ? TrackTable(*movie, kAudioTrack, kMp4aFormat) : nullptr)
        AddChunks(*audio, false, "AAC", file.size(), standing.chunks);
    std::stable_sort(standing.chunks.begin(), standing.chunks.end(), [](const auto& a, const auto& b) {
        return a.samples.front()->offset < b.samples.front()->offset;
    });
    uint64_t takenEnd = 0;
    std::tie(takenEnd, standing.end) = CheckedEnd(file, lengthSize, standing.chunks);
    KeepInFront(takenEnd, standing.chunks);
    return standing;
}

}  // namespace tolmi
