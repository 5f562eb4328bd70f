#pragma once

#include <QString>
#include <string>

namespace window_panel {

/// A text that came from elsewhere, fit to be shown: what is no UTF-8, and what can't be seen (line ends,
/// characters that turn the direction of writing, ...), shows as a replacement character.
QString shownText(const std::string& text);

} // namespace window_panel
