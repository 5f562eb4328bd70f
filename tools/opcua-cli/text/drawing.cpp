#include "text/drawing.h"

#include "text/ascii.h"

namespace opcua_cli {
namespace {

constexpr Drawing unicode{"├─ ", "└─ ", "│  ", "…", {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"}};
constexpr Drawing ascii{"|- ", "`- ", "|  ", "...", {"_", ".", "-", "~", "=", "+", "*", "#"}};

} // namespace

const Drawing& drawing() {
    static const bool isUtf8 = localeHasUtf8();
    return isUtf8 ? unicode : ascii;
}

} // namespace opcua_cli
