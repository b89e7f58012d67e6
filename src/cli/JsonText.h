#pragma once
// A flat JSON object of text values, written in the order they are added.

#include <string>

namespace tolmi {

class JsonObject {
public:
    void add(const std::string& key, const std::string& value);
    std::string text() const { return "{" + body_ + "}"; }

private:
    std::string body_;
};

std::string JsonQuote(const std::string& text);

}  // namespace tolmi
