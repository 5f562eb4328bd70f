#pragma once

#include <QApplication>

namespace window_panel {

/// Typeface, palette and the looks of buttons and cards, for the whole program.
void useStyle(QApplication& application);

} // namespace window_panel
