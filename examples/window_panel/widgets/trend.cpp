#include "trend.h"

#include <QPainter>
#include <QPolygonF>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <deque>

#include "drawing/colours.h"
#include "drawing/texts.h"
#include "drawing/value_field.h"

namespace window_panel {
namespace {

using Clock = TrendHistory::Clock;
constexpr double nameWidth = 128;
constexpr double valueWidth = 108;
constexpr double axisHeight = 22;
constexpr std::chrono::milliseconds longestChange{300};

/// Where a moment and a value lie in a lane.
class Scale {
public:
    Scale(const QRectF& lane, const TagFacts& facts, Clock::time_point now,
          std::chrono::duration<double> span)
        : m_lane(lane), m_facts(facts), m_now(now), m_span(span) {}

    double x(Clock::time_point time) const {
        const double part = std::chrono::duration<double>(m_now - time) / m_span;
        return std::max(m_lane.right() - part * m_lane.width(), m_lane.left());
    }
    double y(double value) const {
        const double inside = std::clamp(value, m_facts.low, m_facts.high);
        return m_lane.bottom() - (inside - m_facts.low) / (m_facts.high - m_facts.low) * m_lane.height();
    }
    const QRectF& lane() const { return m_lane; }

private:
    QRectF m_lane;
    const TagFacts& m_facts;
    Clock::time_point m_now;
    std::chrono::duration<double> m_span;
};

/// Adds a point; of many in one column of pixels the first, the least, the greatest and the last are enough.
class Trace {
public:
    explicit Trace(QPainter& painter) : m_painter(painter) {}
    ~Trace() { end(); }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    void add(const QPointF& point) {
        const bool sameColumn = m_line.size() > 3 && std::floor(m_line.back().x()) == std::floor(point.x()) &&
                                std::floor(m_line[m_line.size() - 4].x()) == std::floor(point.x());
        if (sameColumn) {
            QPointF& least = m_line[m_line.size() - 3];
            QPointF& greatest = m_line[m_line.size() - 2];
            least.setY(std::max(least.y(), point.y()));
            greatest.setY(std::min(greatest.y(), point.y()));
            m_line.back() = point;
        } else {
            m_line.append(point);
        }
    }
    void end() {
        m_painter.drawPolyline(m_line);
        m_line.clear();
    }

private:
    QPainter& m_painter;
    QPolygonF m_line;
};

void drawTrace(QPainter& painter, const Scale& scale, const std::deque<TrendHistory::Point>& points,
               Clock::time_point from, Clock::time_point now) {
    painter.setPen(QPen(colours::trace, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    Trace trace(painter);
    const auto isBefore = [](const TrendHistory::Point& point, Clock::time_point time) {
        return point.time < time;
    };
    auto point = std::lower_bound(points.begin(), points.end(), from, isBefore);
    if (point != points.begin())
        --point;
    const TrendHistory::Point* before = nullptr;
    for (; point != points.end(); ++point) {
        // What the server did not tell of has not changed.
        if (before != nullptr && before->isPresent && point->time - before->time > longestChange)
            trace.add({scale.x(point->time), scale.y(before->value)});
        if (point->isPresent)
            trace.add({scale.x(point->time), scale.y(point->value)});
        else
            trace.end();
        before = &*point;
    }
    if (!points.empty() && points.back().isPresent)
        trace.add({scale.x(now), scale.y(points.back().value)});
}

void drawGround(QPainter& painter, const Scale& scale, const TagFacts& facts) {
    painter.setPen(Qt::NoPen);
    painter.fillRect(scale.lane(), colours::vessel);
    const double top = std::isinf(facts.normalHigh) ? scale.lane().top() : scale.y(facts.normalHigh);
    const double bottom = std::isinf(facts.normalLow) ? scale.lane().bottom() : scale.y(facts.normalLow);
    QColor band = colours::card;
    band.setAlphaF(0.75F);
    painter.fillRect(QRectF(scale.lane().left(), top, scale.lane().width(), bottom - top), band);
}

void drawTimes(QPainter& painter, const QRectF& plot, std::chrono::minutes span) {
    const auto parts = span.count() == 1 ? 4 : span.count() == 5 ? 5 : 3;
    for (int part = 0; part <= parts; ++part) {
        const double x = plot.right() - plot.width() * part / static_cast<double>(parts);
        painter.setPen(QPen(colours::cardEdge, 1));
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom() + 4));
        const auto seconds = std::chrono::seconds(span).count() * part / parts;
        const QString text = part == 0           ? QStringLiteral("now")
                             : seconds % 60 == 0 ? QStringLiteral("−%1 min").arg(seconds / 60)
                                                 : QStringLiteral("−%1 s").arg(seconds);
        const double left = std::clamp(x - 30, plot.left(), plot.right() - 60);
        const Qt::Alignment side = part == 0       ? Qt::AlignRight
                                   : part == parts ? Qt::AlignLeft
                                                   : Qt::AlignHCenter;
        drawText(painter, {left, plot.bottom() + 5, 60, 16}, side, text, fontOf(11), colours::label);
    }
}

} // namespace

Trend::Trend(const TrendHistory& history, const PlantPicture& picture, QWidget* parent)
    : QWidget(parent), m_history(history), m_picture(picture) {
    setMinimumSize(420, 180);
}

void Trend::setSpan(std::chrono::minutes span) {
    m_span = span;
    update();
}

void Trend::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Clock::time_point now = Clock::now();
    const double lanes = static_cast<double>(TrendHistory::tags.size());
    const QRectF plot(nameWidth, 2, width() - nameWidth - valueWidth, height() - axisHeight - 2);
    const double laneHeight = plot.height() / lanes;
    for (std::size_t i = 0; i < TrendHistory::tags.size(); ++i) {
        const Tag tag = TrendHistory::tags[i];
        const TagFacts& facts = factsOf(tag);
        const QRectF lane(plot.left(), plot.top() + laneHeight * static_cast<double>(i), plot.width(),
                          laneHeight - 6);
        const Scale scale(lane, facts, now, m_span);
        drawGround(painter, scale, facts);
        drawText(painter, {0, lane.top(), nameWidth - 8, lane.height()}, Qt::AlignLeft | Qt::AlignVCenter,
                 QString::fromUtf8(facts.name), fontOf(13), colours::label);
        drawTrace(painter, scale, m_history.pointsOf(tag), now - m_span, now);
        drawValue(painter, {lane.right() + 12, lane.center().y() - 12, valueWidth - 20, 24}, m_picture, tag);
    }
    drawTimes(painter, plot, m_span);
}

} // namespace window_panel
