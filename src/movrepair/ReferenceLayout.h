#pragma once
// How the reference lays out its media data: how many samples its video
// chunks hold, and how long the chunks of each track are. The chunks of an
// interleaved file follow each other without a gap, so a chunk is as long
// as the distance to the next chunk of any track.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tolmi {

class CMoov;

struct TrackLayout {
    enum class Role { Video, Audio, Other };
    Role role = Role::Other;
    std::string format;     // of the sample description, e.g. "tmcd"
    size_t movieTrack = 0;  // the index of the track in the movie
    // The lengths of the chunks that have a chunk of the reference behind
    // them, each length once, the most frequent first.
    std::vector<uint64_t> chunkLengths;
    // The bytes every chunk of the track starts with (telemetry and
    // metadata samples begin with a tag); empty when they differ.
    std::vector<uint8_t> leadingBytes;
    size_t chunkCount = 0;
};

class ReferenceLayout {
public:
    // The first video and the first audio track play those roles; every
    // other track with chunks is kept as another track.
    // The chunks' first bytes are read from the file at referencePath;
    // lengthSize is that of the video's NAL units.
    ReferenceLayout(const CMoov* movie, const std::string& referencePath, uint8_t lengthSize);

    // Video chunks of one or two samples: the file is interleaved frame by
    // frame, and one picture at a time is what the walk looks for.
    bool InterleavesFrameByFrame() const { return frameByFrame_; }
    const std::vector<TrackLayout>& tracks() const { return tracks_; }
    // The header byte of the unit that every video chunk starts with (an
    // access unit delimiter, as cameras write one), when they all agree.
    std::optional<uint8_t> FirstVideoUnitHeader() const { return firstVideoHeader_; }
    // The longest chunk length kept of any track.
    uint64_t LongestChunk() const;
    // The lengths that a chunk of the audio track may have where no picture
    // follows it: those of its chunks, and for PCM, whose last chunk may be
    // longer, the multiples of the encoder's packet. Empty without audio.
    const std::vector<uint64_t>& AudioChunkLengths() const { return audioLengths_; }

private:
    std::vector<TrackLayout> tracks_;
    std::vector<uint64_t> audioLengths_;
    std::optional<uint8_t> firstVideoHeader_;
    bool frameByFrame_ = false;
};

}  // namespace tolmi
