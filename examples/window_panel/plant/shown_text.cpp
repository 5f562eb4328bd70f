#include "shown_text.h"

#include <QChar>
#include <string>

namespace window_panel {

QString shownText(const std::string& text) {
    QString shown = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    for (QChar& character : shown)
        if (!character.isPrint() && !character.isSurrogate())
            character = QChar::ReplacementCharacter;
    return shown;
}

} // namespace window_panel
