#include "container/CVideoSampleDescriptionEntery.h"

#include "container/AtomSupport.h"
#include "streams/HVCDecoderConfigurationRecord.h"

namespace tolmi {
namespace {
constexpr size_t kChildrenStart = 86;
}

CVideoSampleDescriptionEntery::CVideoSampleDescriptionEntery(const uint8_t* bytes, uint32_t length,
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
        temporalQuality = in.u32be();
        spatialQuality = in.u32be();
        width = in.u16be();
        height = in.u16be();
        horizontalResolution = in.u32be();
        verticalResolution = in.u32be();
        dataSize = in.u32be();
        frameCount = in.u16be();
        in.skip(32);  // compressor name, not held
        depth = in.u16be();
        colorTableId = in.u16be();
        if (format == FourCC("avc1") || format == FourCC("hvc1")) ReadChildren({bytes, length}, arena);
    });
}

// colr is passed by its size, avcC and hvcC are read when they fit, and
// anything else moves the search one byte.
void CVideoSampleDescriptionEntery::ReadChildren(std::span<const uint8_t> entry, AtomArena& arena) {
    for (ChildSearch search(entry, kChildrenStart); search.More();) {
        const uint32_t type = search.Type();
        if (type == FourCC("colr") && search.SizeField() != 0) {
            search.Pass();
        } else if (type == FourCC("avcC") && search.Fits()) {
            const auto child = search.Child();
            avcConfig = arena.Make<CAVCDecoderConfigurationRecord>(child.data(), uint32_t(child.size()));
            decoderConfig = avcConfig;
            search.Pass();
        } else if (type == FourCC("hvcC") && search.Fits()) {
            const auto child = search.Child();
            auto* record = arena.Make<HVCDecoderConfigurationRecord>();
            if (record->Parse(child.data(), uint32_t(child.size()), width, height)) decoderConfig = record;
            search.Pass();
        } else {
            search.Step();
        }
    }
}

}  // namespace tolmi
