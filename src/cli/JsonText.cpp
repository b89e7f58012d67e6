#include "cli/JsonText.h"

#include <cstdio>

namespace tolmi {

std::string JsonQuote(const std::string& text) {
    std::string quoted = "\"";
    for (unsigned char c : text) {
        switch (c) {
            case '"': quoted += "\\\""; break;
            case '\\': quoted += "\\\\"; break;
            case '\n': quoted += "\\n"; break;
            case '\r': quoted += "\\r"; break;
            case '\t': quoted += "\\t"; break;
            default:
                if (c < 0x20) {
                    char escape[8];
                    std::snprintf(escape, sizeof escape, "\\u%04x", c);
                    quoted += escape;
                } else {
                    quoted += char(c);
                }
        }
    }
    return quoted + "\"";
}

void JsonObject::add(const std::string& key, const std::string& value) {
    if (!body_.empty()) body_ += ",";
    body_ += JsonQuote(key) + ":" + JsonQuote(value);
}

}  // namespace tolmi
