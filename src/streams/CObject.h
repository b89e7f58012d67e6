#pragma once
// The common root of the parsed records and atoms. Holders that keep "one
// of several record kinds" behind a single pointer (the decoder
// configuration record of a sample entry, the parameter sets a file gives
// the engine) hold a CObject and find the kind with dynamic_cast.

namespace tolmi {

class CObject {
public:
    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
    virtual ~CObject() = default;
};

}  // namespace tolmi
