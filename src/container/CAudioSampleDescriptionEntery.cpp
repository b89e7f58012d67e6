#include "container/CAudioSampleDescriptionEntery.h"

#include "container/AtomSupport.h"

namespace tolmi {
namespace {
constexpr size_t kVersionOneFields = 36;
}

CAudioSampleDescriptionEntery::CAudioSampleDescriptionEntery(const uint8_t* bytes, uint32_t length,
                                                             AtomArena& arena) {
    CatchAll([&] {
        ByteReader in(bytes, length);
        entrySize = in.u32be();
        format = in.fourcc();
        reserved1 = in.u32be();
        reserved2 = in.u16be();
        dataReferenceIndex = in.u16be();
        version = in.u16be();
        revisionLevel = in.u16be();
        vendor = in.u32be();
        channelCount = in.u16be();
        sampleSize = in.u16be();
        compressionId = in.u16be();
        packetSize = in.u16be();
        sampleRate = in.u32be();
        if (format == FourCC("mp4a")) {
            // The first esds that fits, looked for one byte at a time.
            for (ChildSearch search({bytes, length}, kVersionOneFields); search.More() && !esds;) {
                if (search.Type() != FourCC("esds")) {
                    search.Step();
                    continue;
                }
                search.TakeOrStep([&](std::span<const uint8_t> child) {
                    esds = arena.Make<CEsdsDecoder>(child.data(), uint32_t(child.size()));
                });
            }
        } else if (version == 1 && in.canRead(16)) {
            samplesPerPacket = in.u32be();
            bytesPerPacket = in.u32be();
            bytesPerFrame = in.u32be();
            bytesPerSample = in.u32be();
        }
    });
}

}  // namespace tolmi
