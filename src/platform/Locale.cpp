#include "platform/Locale.h"

#include <cstdlib>
#include <map>

namespace tolmi {
namespace {

// Language codes by "language_COUNTRY", for the countries that have a
// code of their own; a language alone gets its primary code.
const std::map<std::string, uint32_t>& CountryCodes() {
    static const std::map<std::string, uint32_t> codes = {
        {"de_DE", 0x407}, {"de_CH", 0x807}, {"de_AT", 0xC07}, {"de_LU", 0x1007}, {"de_LI", 0x1407},
        {"fr_FR", 0x40C}, {"fr_BE", 0x80C}, {"fr_CA", 0xC0C}, {"fr_CH", 0x100C}, {"fr_LU", 0x140C},
        {"fr_MC", 0x180C}, {"it_IT", 0x410}, {"it_CH", 0x810}, {"pt_BR", 0x416}, {"pt_PT", 0x816},
        {"es_MX", 0x80A}, {"es_ES", 0xC0A}, {"es_GT", 0x100A}, {"es_CR", 0x140A}, {"es_PA", 0x180A},
        {"es_DO", 0x1C0A}, {"es_VE", 0x200A}, {"es_CO", 0x240A}, {"es_PE", 0x280A}, {"es_AR", 0x2C0A},
        {"es_EC", 0x300A}, {"es_CL", 0x340A}, {"es_UY", 0x380A}, {"es_PY", 0x3C0A}, {"es_BO", 0x400A},
        {"es_SV", 0x440A}, {"es_HN", 0x480A}, {"es_NI", 0x4C0A}, {"es_PR", 0x500A}, {"en_US", 0x409},
        {"en_GB", 0x809}, {"en_AU", 0xC09}, {"en_CA", 0x1009}, {"en_NZ", 0x1409}, {"en_IE", 0x1809},
        {"nl_NL", 0x413}, {"nl_BE", 0x813}, {"zh_CN", 0x804}, {"zh_TW", 0x404}, {"zh_HK", 0xC04},
    };
    return codes;
}

const std::map<std::string, uint32_t>& PrimaryCodes() {
    static const std::map<std::string, uint32_t> codes = {
        {"ar", 0x401}, {"bg", 0x402}, {"ca", 0x403}, {"zh", 0x804}, {"cs", 0x405}, {"da", 0x406},
        {"de", 0x407}, {"el", 0x408}, {"en", 0x409}, {"es", 0xC0A}, {"fi", 0x40B}, {"fr", 0x40C},
        {"he", 0x40D}, {"hu", 0x40E}, {"is", 0x40F}, {"it", 0x410}, {"ja", 0x411}, {"ko", 0x412},
        {"nl", 0x413}, {"nb", 0x414}, {"no", 0x414}, {"pl", 0x415}, {"pt", 0x416}, {"ro", 0x418},
        {"ru", 0x419}, {"hr", 0x41A}, {"sk", 0x41B}, {"sv", 0x41D}, {"th", 0x41E}, {"tr", 0x41F},
        {"uk", 0x422}, {"sl", 0x424}, {"et", 0x425}, {"lv", 0x426}, {"lt", 0x427}, {"vi", 0x42A},
        {"hi", 0x439},
    };
    return codes;
}

}  // namespace

uint32_t LanguageCodeOfLocale(const std::string& posixLocale) {
    // "de_CH.UTF-8@euro": language and country in front of the codeset.
    std::string name = posixLocale.substr(0, posixLocale.find_first_of(".@"));
    if (name.empty() || name == "C" || name == "POSIX") return 0;
    if (auto it = CountryCodes().find(name); it != CountryCodes().end()) return it->second;
    std::string language = name.substr(0, name.find('_'));
    if (auto it = PrimaryCodes().find(language); it != PrimaryCodes().end()) return it->second;
    return 0;
}

uint32_t UserUiLanguage() {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value && *value) return LanguageCodeOfLocale(value);
    }
    return 0;
}

}  // namespace tolmi
