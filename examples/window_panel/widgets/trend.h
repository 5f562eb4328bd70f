#pragma once

#include <QWidget>
#include <chrono>

#include "plant/plant_picture.h"
#include "plant/trend_history.h"

namespace window_panel {

/// The last minutes, a lane a value; the newest is at the right. Where nothing was known there is no line.
class Trend : public QWidget {
    Q_OBJECT

public:
    Trend(const TrendHistory& history, const PlantPicture& picture, QWidget* parent = nullptr);

    void setSpan(std::chrono::minutes span);
    std::chrono::minutes span() const { return m_span; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const TrendHistory& m_history;
    const PlantPicture& m_picture;
    std::chrono::minutes m_span{5};
};

} // namespace window_panel
