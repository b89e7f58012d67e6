#include "avirepair/AviChunkRules.h"

#include "avirepair/AviHeaders.h"

namespace tolmi {
namespace {

bool CodeIs(uint8_t first, uint8_t second, const char (&code)[3]) {
    return first == uint8_t(code[0]) && second == uint8_t(code[1]);
}

}  // namespace

bool IsChunkCode(uint8_t first, uint8_t second) {
    return CodeIs(first, second, "dc") || CodeIs(first, second, "db") || CodeIs(first, second, "xx") ||
           IsAudioCode(first, second);
}

bool IsAudioCode(uint8_t first, uint8_t second) { return CodeIs(first, second, "wb"); }

bool NextChunkIdAccepted(uint32_t id, bool firstChunk, bool beyondWindow) {
    const auto b0 = uint8_t(id), b1 = uint8_t(id >> 8), b2 = uint8_t(id >> 16), b3 = uint8_t(id >> 24);
    const bool indexAhead = CodeIs(b0, b1, "id") || CodeIs(b0, b1, "ix");
    const bool chunkAhead = CodeIs(b2, b3, "db") || CodeIs(b2, b3, "wb") || CodeIs(b2, b3, "dc");
    const bool xxAhead = CodeIs(b2, b3, "xx");
    if (firstChunk) return indexAhead || chunkAhead || (beyondWindow && xxAhead);
    return indexAhead || chunkAhead || xxAhead || id == AviTag("JUNK");
}

}  // namespace tolmi
