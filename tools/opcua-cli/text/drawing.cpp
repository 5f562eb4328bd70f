#include "text/drawing.h"

#include <cstdlib>
#include <cstring>

namespace opcua_cli {
namespace {

constexpr Drawing unicode{"├─ ", "└─ ", "│  ", "…", {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"}};
constexpr Drawing ascii{"|- ", "`- ", "|  ", "...", {"_", ".", "-", "~", "=", "+", "*", "#"}};

/// The first variable that is set counts (POSIX). By its name alone: the locale need not be installed here.
bool isUtf8Locale() {
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* locale = std::getenv(variable);
        if (locale != nullptr && *locale != '\0')
            return strcasestr(locale, "utf-8") != nullptr || strcasestr(locale, "utf8") != nullptr;
    }
    return false;
}

} // namespace

const Drawing& drawing() {
    static const bool isUtf8 = isUtf8Locale();
    return isUtf8 ? unicode : ascii;
}

} // namespace opcua_cli
