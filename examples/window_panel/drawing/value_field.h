#pragma once

#include <QPainter>
#include <QPointF>
#include <QRectF>

#include "plant/plant_picture.h"

namespace window_panel {

/// A name and its value, side by side or one below the other. Abnormal values stand on a colour, with a
/// letter that says why; old ones are grey.
void drawValue(QPainter& painter, const QRectF& where, const PlantPicture& picture, Tag tag);
void drawNamedValue(QPainter& painter, const QPointF& topLeft, const QString& name,
                    const PlantPicture& picture, Tag tag, double width = 96);

} // namespace window_panel
