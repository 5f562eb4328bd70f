#include "value_field.h"

#include "drawing/colours.h"
#include "drawing/texts.h"

namespace window_panel {
namespace {

struct Look {
    QColor text;
    QColor ground; ///< invalid: none
    QString mark;
};

Look lookOf(Condition condition) {
    switch (condition) {
    case Condition::Normal:
        return {colours::value, {}, {}};
    case Condition::Low:
        return {colours::warningText, colours::warning, QStringLiteral("L")};
    case Condition::High:
        return {colours::warningText, colours::warning, QStringLiteral("H")};
    case Condition::Failed:
        return {colours::alarmText, colours::alarm, QStringLiteral("?")};
    case Condition::Old:
    case Condition::Unknown:
        break;
    }
    return {colours::faint, {}, {}};
}

} // namespace

void drawValue(QPainter& painter, const QRectF& where, const PlantPicture& picture, Tag tag) {
    const Look look = lookOf(picture.condition(tag));
    if (look.ground.isValid()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(look.ground);
        painter.drawRoundedRect(where.adjusted(-5, 0, 5, 0), 3, 3);
        drawText(painter, where, Qt::AlignRight | Qt::AlignVCenter, look.mark, fontOf(13, QFont::Bold),
                 look.text);
    }
    const QFont font = fontOf(17, QFont::Medium);
    const QString number = picture.text(tag);
    const QString unit = QString::fromUtf8(factsOf(tag).unit);
    drawText(painter, where, Qt::AlignLeft | Qt::AlignVCenter, number, font, look.text);
    const double used = QFontMetricsF(font).horizontalAdvance(number) + 5;
    if (picture.isKnown(tag) && used < where.width())
        drawText(painter, where.adjusted(used, 2, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, unit, fontOf(12),
                 picture.condition(tag) == Condition::Normal ? colours::label : look.text);
}

void drawNamedValue(QPainter& painter, const QPointF& topLeft, const QString& name,
                    const PlantPicture& picture, Tag tag, double width) {
    drawText(painter, {topLeft, QSizeF(width, 16)}, Qt::AlignLeft | Qt::AlignVCenter, name, fontOf(12),
             colours::label);
    drawValue(painter, {topLeft + QPointF(0, 16), QSizeF(width, 24)}, picture, tag);
}

} // namespace window_panel
