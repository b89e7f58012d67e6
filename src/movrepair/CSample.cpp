#include "movrepair/CSample.h"

#include <utility>

namespace tolmi {

CSample::CSample(uint64_t offset, uint64_t size, std::string type, std::unique_ptr<CNALU> nal)
    : offset(offset), size(size), type(std::move(type)), nal(std::move(nal)) {}

}  // namespace tolmi
