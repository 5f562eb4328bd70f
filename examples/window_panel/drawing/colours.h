#pragma once

#include <QColor>

/// Grey is what is as it should be. Only what is abnormal has a colour.
namespace window_panel::colours {

inline constexpr QColor background{0xD8, 0xDA, 0xDC};
inline constexpr QColor card{0xE4, 0xE6, 0xE8};
inline constexpr QColor cardEdge{0xC3, 0xC7, 0xCB};
inline constexpr QColor vessel{0xCB, 0xCF, 0xD3};
inline constexpr QColor liquid{0x9D, 0xA9, 0xB5};
inline constexpr QColor outline{0x84, 0x8B, 0x93};
inline constexpr QColor pipe{0xAD, 0xB3, 0xBA};
inline constexpr QColor running{0xF4, 0xF5, 0xF6};
inline constexpr QColor stopped{0x74, 0x7B, 0x83};
inline constexpr QColor label{0x5B, 0x63, 0x6C};
inline constexpr QColor faint{0x8B, 0x92, 0x9A};
inline constexpr QColor value{0x1D, 0x2C, 0x3F};
inline constexpr QColor normalBand{0xB9, 0xC6, 0xD2};
inline constexpr QColor trace{0x2E, 0x4A, 0x66};

inline constexpr QColor warning{0xF2, 0xB1, 0x1D};
inline constexpr QColor warningText{0x2B, 0x22, 0x08};
inline constexpr QColor alarm{0xC4, 0x2B, 0x1C};
inline constexpr QColor alarmText{0xFF, 0xFF, 0xFF};

} // namespace window_panel::colours
