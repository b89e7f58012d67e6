#include "AviFixtures.h"

#include <algorithm>
#include <random>

#include "TestSupport.h"
#include "platform/ByteReader.h"
#include "platform/ByteWriter.h"

namespace tolmi::test {
namespace {

void Text(ByteWriter& w, const std::string& text) {
    w.bytes({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

std::vector<uint8_t> Words(std::initializer_list<uint32_t> words) {
    std::vector<uint8_t> d;
    ByteWriter w(d);
    for (uint32_t v : words) w.u32le(v);
    return d;
}

std::vector<uint8_t> StrhData(const AviStreamLayout& s) {
    std::vector<uint8_t> d;
    ByteWriter w(d);
    Text(w, s.video ? "vids" : "auds");
    Text(w, s.handler);
    for (uint32_t v : {0u, 0u, 0u, 1u, s.video ? 25u : 8000u, 0u, 0u, 0u, 0xFFFFFFFFu, s.video ? 0u : 2u}) w.u32le(v);
    w.zeros(8);
    return d;
}

std::vector<uint8_t> StrfData(const AviStreamLayout& s) {
    if (!s.video) return Words({0x00010001, 8000, 16000, 0x00100002});  // PCM, mono, 8000 Hz, 16 bits
    std::vector<uint8_t> d = Words({40, 320, 240, 0x00180001});           // one plane, 24 bits
    ByteWriter w(d);
    Text(w, s.compression);
    w.zeros(20);
    return d;
}

}  // namespace

void PutU32le(std::vector<uint8_t>& out, size_t at, uint32_t value) { StoreU32le(out.data() + at, value); }

uint32_t GetU32le(const std::vector<uint8_t>& bytes, size_t at) {
    ByteReader reader(bytes);
    reader.seek(at);
    return reader.u32le();
}

size_t FindText(const std::vector<uint8_t>& bytes, const std::string& text, size_t from) {
    if (from >= bytes.size()) return std::string::npos;
    const auto at = std::search(bytes.begin() + long(from), bytes.end(), text.begin(), text.end());
    return at == bytes.end() ? std::string::npos : size_t(at - bytes.begin());
}

std::vector<uint8_t> Filler(size_t size, uint8_t seed) {
    std::vector<uint8_t> d(size);
    for (size_t i = 0; i < size; ++i) d[i] = uint8_t(0x80 + (seed + i * 7) % 0x7F);
    return d;
}

void AppendAviChunk(std::vector<uint8_t>& out, const std::string& id, const std::vector<uint8_t>& data) {
    ByteWriter w(out);
    Text(w, id);
    w.u32le(uint32_t(data.size()));
    w.bytes(data);
    if (data.size() & 1) w.u8(0);
}

size_t BeginAviList(std::vector<uint8_t>& out, const std::string& tag, const std::string& type) {
    const size_t start = out.size();
    ByteWriter w(out);
    Text(w, tag);
    w.u32le(0);
    Text(w, type);
    return start;
}

void EndAviList(std::vector<uint8_t>& out, size_t listStart) {
    PutU32le(out, listStart + 4, uint32_t(out.size() - listStart - 8));
}

std::vector<uint8_t> BeginAviFile(const AviLayout& layout) {
    std::vector<uint8_t> file;
    BeginAviList(file, "RIFF", "AVI ");
    const size_t hdrl = layout.withHdrl ? BeginAviList(file, "LIST", "hdrl") : 0;
    if (layout.withHdrl)
        AppendAviChunk(file, "avih", Words({layout.microSecPerFrame, 100000, 0, 0x10, 0, 0,
                                            uint32_t(layout.streams.size()), 0, layout.width, layout.height, 0, 0, 0, 0}));
    for (const AviStreamLayout& s : layout.streams) {
        const size_t strl = BeginAviList(file, "LIST", "strl");
        AppendAviChunk(file, "strh", StrhData(s));
        std::vector<uint8_t> format = StrfData(s);
        const size_t sizeAt = file.size() + 4;
        if (s.strfSize > format.size() && s.strfSize - format.size() <= 8) format.resize(s.strfSize, 0);
        AppendAviChunk(file, "strf", format);
        PutU32le(file, sizeAt, s.strfSize);
        AppendAviChunk(file, "strn", {'s', 't', 'r', 'e', 'a', 'm', 0, 0});
        EndAviList(file, strl);
    }
    if (layout.withHdrl) EndAviList(file, hdrl);
    BeginAviList(file, "LIST", "movi");
    return file;
}

void FinishAvi(std::vector<uint8_t>& file, bool withIndex) {
    const size_t movi = FindText(file, "movi") - 8;
    EndAviList(file, movi);
    if (withIndex) {
        std::vector<uint8_t> entries;
        for (size_t at = movi + 12; at + 8 <= file.size();) {
            const uint32_t size = GetU32le(file, at + 4);
            entries.insert(entries.end(), file.begin() + long(at), file.begin() + long(at) + 4);
            const std::vector<uint8_t> entry = Words({0x10, uint32_t(at - movi - 8), size});
            entries.insert(entries.end(), entry.begin(), entry.end());
            at += 8 + size + (size & 1);
        }
        AppendAviChunk(file, "idx1", entries);
    }
    EndAviList(file, 0);
}

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
    static const char* const kNames[] = {"Intact",       "CutAtEnd", "GarbageInMovi",  "IndexZeroed",
                                               "HeaderZeroed", "HeadGone", "FirstKiBZeroed", "FirstKiBGone"};
    return kNames[int(damage)];
}

std::pair<std::vector<uint8_t>, Stretch> Damaged(const std::vector<uint8_t>& source, Damage damage) {
    std::vector<uint8_t> bytes = source;
    const size_t movi = FindText(source, "movi");
    const size_t idx1 = FindText(source, "idx1", movi);
    switch (damage) {
        case Damage::Intact:
            break;
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
            break;
        case Damage::HeadGone:
            // RIFF, hdrl and avih gone; the first stream list starts at 88.
            bytes.erase(bytes.begin(), bytes.begin() + 80);
            break;
        case Damage::IndexZeroed:
            std::fill(bytes.begin() + long(idx1), bytes.end(), 0);
            return {bytes, {idx1, UINT64_MAX}};
        case Damage::FirstKiBZeroed:
            std::fill(bytes.begin(), bytes.begin() + 1024, 0);
            return {bytes, {0, 1024}};
        case Damage::FirstKiBGone:
            bytes.erase(bytes.begin(), bytes.begin() + 1024);
            return {bytes, {0, 1024}};
    }
    return {bytes, {}};
}

RepairedAvi ReadRepairedAvi(const std::vector<uint8_t>& bytes) {
    RepairedAvi avi;
    ByteReader r(bytes);
    auto fourcc = [&r] {
        std::string id(4, ' ');
        for (char& c : id) c = char(r.u8());
        return id;
    };
    auto fail = [&avi](const std::string& why) {
        avi.error = why;
        return avi;
    };
    if (fourcc() != "RIFF") return fail("no RIFF");
    if (uint64_t(r.u32le()) + 8 != bytes.size()) return fail("RIFF size is not the file's length less 8");
    if (fourcc() != "AVI ") return fail("no AVI");
    if (fourcc() != "LIST") return fail("no LIST at 12");
    const uint32_t hdrlSize = r.u32le();
    const size_t hdrlEnd = r.position() + hdrlSize;
    if (fourcc() != "hdrl") return fail("no hdrl");
    while (r.ok() && r.position() + 8 <= hdrlEnd) {
        const std::string id = fourcc();
        const uint32_t size = r.u32le();
        avi.hdrlChildren.push_back(id == "LIST" ? "LIST:" + fourcc() : id);
        r.skip(size + (size & 1) - (id == "LIST" ? 4 : 0));
    }
    if (!r.ok() || r.position() != hdrlEnd) return fail("hdrl size does not meet its children");
    avi.moviListOffset = r.position();
    if (fourcc() != "LIST") return fail("no LIST movi behind hdrl");
    const uint32_t moviSize = r.u32le();
    const size_t moviEnd = r.position() + moviSize;
    if (fourcc() != "movi") return fail("no movi");
    while (r.ok() && r.position() + 8 <= moviEnd) {
        AviMoviChunk chunk;
        chunk.offset = r.position();
        chunk.id = fourcc();
        const uint32_t size = r.u32le();
        const auto data = r.subspan(size);
        chunk.data.assign(data.begin(), data.end());
        if (size & 1) r.skip(1);
        avi.chunks.push_back(std::move(chunk));
    }
    if (!r.ok() || r.position() != moviEnd) return fail("movi size does not meet its chunks");
    if (fourcc() != "idx1") return fail("no idx1 behind movi");
    const uint32_t indexSize = r.u32le();
    if (indexSize % 16 != 0 || r.remaining() != indexSize) return fail("idx1 size does not meet the file's end");
    while (r.ok() && r.remaining() >= 16) {
        AviIndexEntry e;
        e.id = fourcc();
        e.flags = r.u32le();
        e.offset = r.u32le();
        e.length = r.u32le();
        avi.index.push_back(e);
    }
    avi.wellFormed = r.ok();
    return avi;
}

}  // namespace tolmi::test
