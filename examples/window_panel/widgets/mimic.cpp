#include "mimic.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

#include "drawing/boiler_drawing.h"
#include "drawing/colours.h"
#include "drawing/line_drawing.h"
#include "drawing/texts.h"

namespace window_panel {
namespace {

constexpr double gap = 10;
constexpr double headHeight = 34;
constexpr double margin = 6; // around a drawing

void drawCard(QPainter& painter, const QRectF& where, const QString& name) {
    painter.setPen(QPen(colours::cardEdge, 1));
    painter.setBrush(colours::card);
    painter.drawRoundedRect(where, 8, 8);
    drawText(painter, where.adjusted(16, 8, -16, 0), Qt::AlignLeft | Qt::AlignTop, name,
             fontOf(16, QFont::Medium), colours::value);
}

void drawHatching(QPainter& painter, const QRectF& where) {
    painter.save();
    QColor veil = colours::card;
    veil.setAlphaF(0.45F);
    painter.fillRect(where, veil);
    QColor line = colours::outline;
    line.setAlphaF(0.30F);
    painter.setPen(QPen(line, 1));
    painter.setClipRect(where);
    constexpr double distance = 14;
    for (int i = 0; i < static_cast<int>((where.width() + where.height()) / distance) + 1; ++i) {
        const double x = where.left() - where.height() + i * distance;
        painter.drawLine(QPointF(x, where.bottom()), QPointF(x + where.height(), where.top()));
    }
    painter.restore();
}

/// Scales a drawing into the card, below its name.
template <typename Draw>
void drawInCard(QPainter& painter, const QRectF& card, const QSizeF& size, const Draw& draw) {
    const QRectF room = card.adjusted(margin, headHeight, -margin, -margin);
    const double scale = std::min(room.width() / size.width(), room.height() / size.height());
    painter.save();
    painter.translate(room.center() - QPointF(size.width(), size.height()) * scale / 2);
    painter.scale(scale, scale);
    draw();
    painter.restore();
}

} // namespace

Mimic::Mimic(const PlantPicture& picture, QWidget* parent) : QWidget(parent), m_picture(picture) {
    setMinimumSize(840, 280);
    m_sinceRefresh.start();
}

void Mimic::refresh() {
    const double seconds = static_cast<double>(m_sinceRefresh.restart()) / 1000;
    const double speed = m_picture.number(Tag::LineSpeed);
    if (m_picture.isCurrent() && std::isfinite(speed))
        m_travel += std::clamp(speed, 0.0, factsOf(Tag::LineSpeed).high) * seconds;
    update();
}

void Mimic::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double widthOfDrawings = boilerSize.width() + lineSize.width();
    const double boilerWidth =
        (width() - gap - 4 * margin) * boilerSize.width() / widthOfDrawings + 2 * margin;
    const QRectF boiler(0.5, 0.5, boilerWidth - 1, height() - 1);
    const QRectF line(boilerWidth + gap + 0.5, 0.5, width() - boilerWidth - gap - 1, height() - 1);
    drawCard(painter, boiler, QStringLiteral("Boiler"));
    drawCard(painter, line, QStringLiteral("Line 1"));
    drawInCard(painter, boiler, boilerSize, [&] { drawBoiler(painter, m_picture); });
    drawInCard(painter, line, lineSize, [&] { drawLine(painter, m_picture, m_travel); });
    if (m_picture.isCurrent())
        return;
    for (const QRectF& card : {boiler, line})
        drawHatching(painter, card.adjusted(3, headHeight, -3, -3));
}

} // namespace window_panel
