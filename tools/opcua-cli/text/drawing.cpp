#include "text/drawing.h"

#include "text/ascii.h"

namespace opcua_cli {
namespace {

constexpr Drawing unicodeDrawing{"├─ ", "└─ ", "│  ", "…", {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"}};
constexpr Drawing asciiDrawing{"|- ", "`- ", "|  ", "...", {"_", ".", "-", "~", "=", "+", "*", "#"}};

} // namespace

const Drawing& drawing() {
    static const bool isUtf8 = localeHasUtf8();
    return isUtf8 ? unicodeDrawing : asciiDrawing;
}

} // namespace opcua_cli
