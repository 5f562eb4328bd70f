#pragma once

#include <QString>
#include <QTime>
#include <array>

#include "plant/latest_values.h"
#include "plant/tags.h"

namespace window_panel {

/// How a value is to be looked at.
enum class Condition {
    Normal,
    Low,
    High,
    Failed,  ///< the plant has no good value: a sensor that fails
    Old,     ///< the connection is silent or lost: nobody knows what it is now
    Unknown, ///< none has come yet
};

/// The plant as the window knows it: the latest value of each tag, and whether they can be believed.
class PlantPicture {
public:
    void apply(const Change& change);
    /// False while nothing is heard of the plant.
    void setCurrent(bool current) { m_current = current; }
    bool isCurrent() const { return m_current; }

    Condition condition(Tag tag) const;
    bool isKnown(Tag tag) const { return readingOf(tag).known; }
    double number(Tag tag) const { return readingOf(tag).value.number; }

    /// "10.13"; "–" for what is not known. A text may be anything that a server sends, but holds no
    /// characters that can't be seen.
    QString text(Tag tag) const;
    /// "10.13 bar"
    QString textWithUnit(Tag tag) const;
    /// When the latest value of all came; not valid before the first.
    QTime latestChange() const { return m_latestChange; }

private:
    struct Reading {
        Value value;
        bool known = false;
        bool readable = true;
    };

    const Reading& readingOf(Tag tag) const { return m_readings[indexOf(tag)]; }

    std::array<Reading, tagCount> m_readings;
    bool m_current = false;
    QTime m_latestChange;
};

/// "10.13 bar"
QString withUnit(const TagFacts& facts, double value);

} // namespace window_panel
