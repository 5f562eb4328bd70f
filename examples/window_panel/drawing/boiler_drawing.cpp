#include "boiler_drawing.h"

#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "drawing/analog_bar.h"
#include "drawing/colours.h"
#include "drawing/symbols.h"
#include "drawing/texts.h"
#include "drawing/value_field.h"

namespace window_panel {
namespace {

const QRectF drum(222, 76, 224, 104);
const QRectF furnace(248, 246, 172, 128);
constexpr double scaleTop = 62;
constexpr double scaleHeight = 318;

void drawFeedWater(QPainter& painter, const PlantPicture& picture) {
    const double height = drum.center().y();
    drawPipe(painter, QPolygonF({QPointF(14, height), QPointF(drum.left() + 8, height)}));
    drawPump(painter, {72, height}, motionOf(picture, Tag::FeedPump));
    drawValve(painter, {164, height}, motionOf(picture, Tag::FeedValve));
    drawText(painter, {14, height - 62, 120, 18}, Qt::AlignLeft, QStringLiteral("Feed water"),
             fontOf(13, QFont::Medium), colours::label);
    drawNamedValue(painter, {40, height + 30}, QStringLiteral("Flow"), picture, Tag::FeedFlow, 84);
    drawNamedValue(painter, {138, height + 30}, QStringLiteral("Valve"), picture, Tag::FeedValve, 76);
}

void drawSteam(QPainter& painter) {
    const double middle = drum.center().x();
    drawPipe(painter, QPolygonF({QPointF(middle, drum.top() + 6), QPointF(middle, 28), QPointF(680, 28)}));
    drawArrow(painter, {696, 28});
    drawText(painter, {middle + 20, 0, 200, 18}, Qt::AlignLeft, QStringLiteral("Steam to the dairy"),
             fontOf(13, QFont::Medium), colours::label);
}

/// What the drum's scale says is what its picture shows.
void drawDrum(QPainter& painter, const PlantPicture& picture) {
    for (int tube = 0; tube < 6; ++tube) {
        const double x = furnace.left() + 21 + 26 * tube;
        drawPipe(painter, QPolygonF({QPointF(x, drum.bottom() - 10), QPointF(x, furnace.top() + 4)}));
    }
    QPainterPath shell;
    shell.addRoundedRect(drum, drum.height() / 2, drum.height() / 2);
    painter.setPen(Qt::NoPen);
    painter.fillPath(shell, colours::vessel);
    const double level = picture.number(Tag::DrumLevel);
    if (picture.isKnown(Tag::DrumLevel) && std::isfinite(level)) {
        const double depth = std::clamp(level, 0.0, 100.0) / 100 * drum.height();
        painter.save();
        painter.setClipPath(shell);
        painter.fillRect(QRectF(drum.left(), drum.bottom() - depth, drum.width(), depth),
                         picture.isCurrent() ? colours::liquid : colours::pipe);
        painter.restore();
    }
    painter.setPen(QPen(colours::outline, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(shell);
    drawText(painter, drum.adjusted(0, 8, 0, -70), Qt::AlignCenter, QStringLiteral("Steam drum"),
             fontOf(13, QFont::Medium), colours::label);
}

void drawBurner(QPainter& painter, const PlantPicture& picture) {
    const double height = furnace.top() + 82;
    drawPipe(painter, QPolygonF({QPointF(150, height), QPointF(furnace.left() + 4, height)}));
    painter.setPen(QPen(colours::outline, 2));
    painter.setBrush(colours::vessel);
    painter.drawRoundedRect(furnace, 6, 6);
    drawFlame(painter, {furnace.center().x(), furnace.bottom() - 14}, motionOf(picture, Tag::BurnerOn));
    drawText(painter, {furnace.left(), furnace.top() + 8, furnace.width(), 18}, Qt::AlignCenter,
             QStringLiteral("Burner"), fontOf(13, QFont::Medium), colours::label);
    drawFan(painter, {150, height}, motionOf(picture, Tag::BurnerOn));
    drawNamedValue(painter, {40, height - 22}, QStringLiteral("Fan"), picture, Tag::FanSpeed, 88);
}

} // namespace

void drawBoiler(QPainter& painter, const PlantPicture& picture) {
    drawFeedWater(painter, picture);
    drawSteam(painter);
    drawDrum(painter, picture);
    drawBurner(painter, picture);
    drawAnalogBar(painter, {466, scaleTop, 80, scaleHeight}, QStringLiteral("Level"), picture,
                  Tag::DrumLevel);
    drawAnalogBar(painter, {548, scaleTop, 84, scaleHeight}, QStringLiteral("Pressure"), picture,
                  Tag::DrumPressure);
    drawAnalogBar(painter, {632, scaleTop, 84, scaleHeight}, QStringLiteral("Temperature"), picture,
                  Tag::DrumTemperature, Tag::BurnerSetPoint);
}

} // namespace window_panel
