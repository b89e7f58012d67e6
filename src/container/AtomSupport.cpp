#include "container/AtomSupport.h"

#include <strings.h>

#include <algorithm>
#include <cmath>

namespace tolmi {

bool SameWord(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

uint32_t TruncLow32(double value) {
    if (!std::isfinite(value) || !(value >= 0.0)) return 0;
    // fmod is exact on doubles, so this keeps the low 32 bits of any whole value.
    return uint32_t(std::fmod(std::trunc(value), 4294967296.0));
}

std::span<const uint8_t> FirstChild(std::span<const uint8_t> atom) {
    if (atom.size() < 12) return {};  // no size field: a length of 0
    const uint32_t field = LoadU32be(&atom[8]);
    return atom.subspan(8, std::min<size_t>(field, atom.size() - 8));
}

}  // namespace tolmi
