#include "movrepair/ReferenceLayout.h"

#include <algorithm>
#include <map>
#include <numeric>

#include "container/AtomSupport.h"
#include "container/CMdia.h"
#include "container/CMinf.h"
#include "container/CMoov.h"
#include "container/CStbl.h"
#include "container/CStco.h"
#include "container/CStsd.h"
#include "container/CStsz.h"
#include "container/CTrak.h"
#include "platform/File.h"

namespace tolmi {
namespace {

// Most lengths a track keeps: the walk tries each where it stands.
constexpr size_t kLengthsKept = 16;
// The chunks whose first bytes are compared, and how many bytes at most.
constexpr size_t kChunksCompared = 32;
constexpr size_t kLeadingBytes = 4;
constexpr uint64_t kSmallestPacket = 256;
constexpr uint64_t kPacketMultiples = 4;
constexpr size_t kLengthsWithMultiples = 64;

const CStbl* SampleTable(const CTrak* track) {
    if (!track || !track->mdia || !track->mdia->minf) return nullptr;
    const CStbl* table = track->mdia->minf->stbl;
    return table && table->stco && table->stco->count > 0 ? table : nullptr;
}

struct ChunkStart {
    uint64_t offset;
    size_t track;
};

// The lengths of each track's chunks, by track, the most frequent first.
std::vector<std::vector<uint64_t>> ChunkLengths(const std::vector<const CStbl*>& tables) {
    std::vector<ChunkStart> starts;
    for (size_t t = 0; t < tables.size(); ++t)
        for (uint64_t offset : tables[t]->stco->offsets) starts.push_back({offset, t});
    std::sort(starts.begin(), starts.end(), [](auto& a, auto& b) { return a.offset < b.offset; });
    std::vector<std::map<uint64_t, size_t>> counts(tables.size());
    for (size_t i = 0; i + 1 < starts.size(); ++i)
        if (starts[i + 1].offset > starts[i].offset) ++counts[starts[i].track][starts[i + 1].offset - starts[i].offset];
    std::vector<std::vector<uint64_t>> lengths(tables.size());
    for (size_t t = 0; t < tables.size(); ++t) {
        std::vector<std::pair<size_t, uint64_t>> byCount;
        for (auto [length, count] : counts[t]) byCount.push_back({count, length});
        std::sort(byCount.begin(), byCount.end(), [](auto& a, auto& b) { return a.first > b.first; });
        for (size_t i = 0; i < byCount.size() && i < kLengthsKept; ++i) lengths[t].push_back(byCount[i].second);
    }
    return lengths;
}

// PCM chunks hold whole packets of the encoder, and a recording's last chunk
// may hold more of them than any chunk of the reference: behind the lengths
// seen come the multiples of their common divisor, up to a few times the
// longest, when that divisor is a packet rather than a frame.
void AddPacketMultiples(std::vector<uint64_t>& lengths) {
    if (lengths.empty()) return;
    uint64_t packet = 0;
    for (uint64_t length : lengths) packet = std::gcd(packet, length);
    const uint64_t longest = *std::max_element(lengths.begin(), lengths.end());
    if (packet < kSmallestPacket) return;
    for (uint64_t length = packet; length <= kPacketMultiples * longest && lengths.size() < kLengthsWithMultiples;
         length += packet)
        if (std::find(lengths.begin(), lengths.end(), length) == lengths.end()) lengths.push_back(length);
}

// The first bytes, from skip on, that the track's first chunks share; none
// when fewer than two chunks can be read.
std::vector<uint8_t> SharedLeadingBytes(const File& file, const std::vector<uint64_t>& offsets, uint64_t skip) {
    std::vector<uint8_t> shared;
    size_t read = 0;
    for (size_t i = 0; i < offsets.size() && i < kChunksCompared; ++i) {
        uint8_t bytes[kLeadingBytes] = {};
        if (file.readAt(offsets[i] + skip, bytes, kLeadingBytes).value_or(0) != kLeadingBytes) continue;
        if (read++ == 0) shared.assign(bytes, bytes + kLeadingBytes);
        size_t same = 0;
        while (same < shared.size() && shared[same] == bytes[same]) ++same;
        shared.resize(same);
    }
    if (read < 2) shared.clear();
    return shared;
}

}  // namespace

ReferenceLayout::ReferenceLayout(const CMoov* movie, const std::string& referencePath, uint8_t lengthSize) {
    if (!movie) return;
    std::vector<const CStbl*> tables;
    bool videoSeen = false, audioSeen = false;
    for (size_t index = 0; index < movie->tracks.size(); ++index) {
        const CTrak* track = movie->tracks[index];
        const CStbl* table = SampleTable(track);
        if (!table) continue;
        TrackLayout layout;
        layout.movieTrack = index;
        layout.format = table->stsd ? table->stsd->coderFormat : "";
        if (!videoSeen && SameWord(track->trackKind, kVideoTrack)) {
            layout.role = TrackLayout::Role::Video;
            videoSeen = true;
            const uint32_t samples = table->stsz ? table->stsz->count : 0;
            frameByFrame_ = samples > 0 && samples <= 2 * table->stco->count;
        } else if (!audioSeen && SameWord(track->trackKind, kAudioTrack)) {
            layout.role = TrackLayout::Role::Audio;
            audioSeen = true;
        }
        tables.push_back(table);
        tracks_.push_back(std::move(layout));
    }
    std::vector<std::vector<uint64_t>> lengths = ChunkLengths(tables);
    File file;
    const bool readable = file.open(referencePath, FileAccess::Read, FileCreation::OpenExisting);
    for (size_t t = 0; t < tracks_.size(); ++t) {
        tracks_[t].chunkLengths = std::move(lengths[t]);
        tracks_[t].chunkCount = tables[t]->stco->offsets.size();
        if (tracks_[t].role == TrackLayout::Role::Audio) {
            audioLengths_ = tracks_[t].chunkLengths;
            AddPacketMultiples(audioLengths_);
        }
        if (readable && tracks_[t].role == TrackLayout::Role::Other)
            tracks_[t].leadingBytes = SharedLeadingBytes(file, tables[t]->stco->offsets, 0);
        if (readable && tracks_[t].role == TrackLayout::Role::Video) {
            const std::vector<uint8_t> header = SharedLeadingBytes(file, tables[t]->stco->offsets, lengthSize);
            if (!header.empty()) firstVideoHeader_ = header.front();
        }
    }
}

uint64_t ReferenceLayout::LongestChunk() const {
    uint64_t longest = 0;
    for (const TrackLayout& track : tracks_)
        for (uint64_t length : track.chunkLengths) longest = std::max(longest, length);
    return longest;
}



}  // namespace tolmi
