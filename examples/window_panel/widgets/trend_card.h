#pragma once

#include <QFrame>

#include "plant/plant_picture.h"
#include "plant/trend_history.h"

namespace window_panel {

class Trend;

/// The trend, with buttons for how far back it goes.
class TrendCard : public QFrame {
    Q_OBJECT

public:
    TrendCard(const TrendHistory& history, const PlantPicture& picture, QWidget* parent = nullptr);

    void refresh();

private:
    Trend* m_trend;
};

} // namespace window_panel
