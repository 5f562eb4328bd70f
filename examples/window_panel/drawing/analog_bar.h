#pragma once

#include <QPainter>
#include <QRectF>
#include <optional>

#include "plant/plant_picture.h"

namespace window_panel {

/// A scale with its normal band and a pointer at the value: whether all is well is seen without reading a
/// number. `setPoint` has a mark of its own. Name above and value below are inside of `where`.
void drawAnalogBar(QPainter& painter, const QRectF& where, const QString& name, const PlantPicture& picture,
                   Tag tag, std::optional<Tag> setPoint = std::nullopt);

} // namespace window_panel
