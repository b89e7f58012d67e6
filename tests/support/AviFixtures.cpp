#include "AviFixtures.h"

#include "TestSupport.h"
#include "platform/ByteReader.h"
#include "platform/ByteWriter.h"

namespace tolmi::test {
namespace {

void AppendText(std::vector<uint8_t>& out, const std::string& text) { out.insert(out.end(), text.begin(), text.end()); }

void AppendU32(std::vector<uint8_t>& out, uint32_t value) {
    out.resize(out.size() + 4);
    StoreU32le(out.data() + out.size() - 4, value);
}

void AppendU16(std::vector<uint8_t>& out, uint16_t value) {
    out.resize(out.size() + 2);
    StoreU16le(out.data() + out.size() - 2, value);
}

std::vector<uint8_t> AvihData(const AviLayout& layout) {
    std::vector<uint8_t> d;
    for (uint32_t v : {layout.microSecPerFrame, 100000u, 0u, 0x10u, 0u, 0u, uint32_t(layout.streams.size()), 0u,
                       layout.width, layout.height, 0u, 0u, 0u, 0u})
        AppendU32(d, v);
    return d;
}

std::vector<uint8_t> StrhData(const AviStreamLayout& s) {
    std::vector<uint8_t> d;
    AppendText(d, s.video ? "vids" : "auds");
    AppendText(d, s.handler);
    for (uint32_t v : {0u, 0u, 0u, 1u, s.video ? 25u : 8000u, 0u, 0u, 0u, 0xFFFFFFFFu, s.video ? 0u : 2u})
        AppendU32(d, v);
    for (int i = 0; i < 4; ++i) AppendU16(d, 0);
    return d;
}

std::vector<uint8_t> StrfData(const AviStreamLayout& s) {
    std::vector<uint8_t> d;
    if (s.video) {
        for (uint32_t v : {40u, s.width, s.height}) AppendU32(d, v);
        AppendU16(d, 1);
        AppendU16(d, 24);
        AppendText(d, s.compression);
        for (int i = 0; i < 5; ++i) AppendU32(d, 0);
    } else {
        AppendU16(d, 1);  // PCM, mono, 8000 Hz, 16 bits
        AppendU16(d, 1);
        AppendU32(d, 8000);
        AppendU32(d, 16000);
        AppendU16(d, 2);
        AppendU16(d, 16);
    }
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
    for (size_t i = from; i + text.size() <= bytes.size(); ++i)
        if (std::equal(text.begin(), text.end(), bytes.begin() + long(i))) return i;
    return std::string::npos;
}

std::vector<uint8_t> Filler(size_t size, uint8_t seed) {
    std::vector<uint8_t> d(size);
    for (size_t i = 0; i < size; ++i) d[i] = uint8_t(0x80 + (seed + i * 7) % 0x7F);
    return d;
}

void AppendAviChunk(std::vector<uint8_t>& out, const std::string& id, const std::vector<uint8_t>& data) {
    AppendText(out, id);
    AppendU32(out, uint32_t(data.size()));
    out.insert(out.end(), data.begin(), data.end());
    if (data.size() & 1) out.push_back(0);
}

size_t BeginAviList(std::vector<uint8_t>& out, const std::string& tag, const std::string& type) {
    const size_t start = out.size();
    AppendText(out, tag);
    AppendU32(out, 0);
    AppendText(out, type);
    return start;
}

void EndAviList(std::vector<uint8_t>& out, size_t listStart) {
    PutU32le(out, listStart + 4, uint32_t(out.size() - listStart - 8));
}

std::vector<uint8_t> BeginAviFile(const AviLayout& layout) {
    std::vector<uint8_t> file;
    BeginAviList(file, "RIFF", "AVI ");
    const size_t hdrl = layout.withHdrl ? BeginAviList(file, "LIST", "hdrl") : 0;
    if (layout.withHdrl) AppendAviChunk(file, "avih", AvihData(layout));
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
            for (uint32_t v : {0x10u, uint32_t(at - movi - 8), size}) AppendU32(entries, v);
            at += 8 + size + (size & 1);
        }
        AppendAviChunk(file, "idx1", entries);
    }
    EndAviList(file, 0);
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
    avi.riffSize = r.u32le();
    if (uint64_t(avi.riffSize) + 8 != bytes.size()) return fail("RIFF size is not the file's length less 8");
    if (fourcc() != "AVI ") return fail("no AVI");
    avi.hdrlOffset = r.position();
    if (fourcc() != "LIST") return fail("no LIST at 12");
    avi.hdrlSize = r.u32le();
    const size_t hdrlEnd = r.position() + avi.hdrlSize;
    if (fourcc() != "hdrl") return fail("no hdrl");
    while (r.ok() && r.position() + 8 <= hdrlEnd) {
        const std::string id = fourcc();
        const uint32_t size = r.u32le();
        if (id == "LIST") {
            const size_t start = r.position();
            avi.hdrlChildren.push_back("LIST:" + fourcc());
            r.seek(start);
        } else {
            avi.hdrlChildren.push_back(id);
        }
        r.skip(size + (size & 1));
    }
    if (!r.ok() || r.position() != hdrlEnd) return fail("hdrl size does not meet its children");
    avi.moviListOffset = r.position();
    if (fourcc() != "LIST") return fail("no LIST movi behind hdrl");
    avi.moviSize = r.u32le();
    const size_t moviEnd = r.position() + avi.moviSize;
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
