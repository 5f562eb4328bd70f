#include "plant_picture.h"

#include <QLocale>
#include <array>
#include <cstddef>

#include "plant/shown_text.h"

namespace window_panel {
namespace {

const QString unknownText = QStringLiteral("–");

QString numberText(const TagFacts& facts, double value) {
    return QLocale::c().toString(value, 'f', facts.decimals);
}

QString lineStateText(double state) {
    static const std::array<const char*, 4> states{"Idle", "Running", "Blocked", "Fault"};
    const bool isState = state >= 0 && state < static_cast<double>(states.size());
    return isState ? QString::fromLatin1(states[static_cast<std::size_t>(state)]) : unknownText;
}

} // namespace

void PlantPicture::apply(const Change& change) {
    Reading& reading = m_readings[indexOf(change.tag)];
    reading.readable = change.readable;
    if (!change.value)
        return;
    reading.value = *change.value;
    reading.known = true;
    m_latestChange = QTime::currentTime();
}

Condition PlantPicture::condition(Tag tag) const {
    const Reading& reading = readingOf(tag);
    const TagFacts& facts = factsOf(tag);
    if (!m_current)
        return reading.known ? Condition::Old : Condition::Unknown;
    if (!reading.readable)
        return Condition::Failed;
    if (!reading.known)
        return Condition::Unknown;
    if (reading.value.number < facts.normalLow)
        return Condition::Low;
    return reading.value.number <= facts.normalHigh ? Condition::Normal : Condition::High;
}

QString PlantPicture::text(Tag tag) const {
    const Reading& reading = readingOf(tag);
    if (!reading.known)
        return unknownText;
    switch (tag) {
    case Tag::LineState:
        return lineStateText(reading.value.number);
    case Tag::Batch:
        return shownText(reading.value.text);
    default:
        return numberText(factsOf(tag), reading.value.number);
    }
}

QString PlantPicture::textWithUnit(Tag tag) const {
    return isKnown(tag) ? withUnit(factsOf(tag), number(tag)) : unknownText;
}

QString withUnit(const TagFacts& facts, double value) {
    return numberText(facts, value) + QLatin1Char(' ') + QString::fromUtf8(facts.unit);
}

} // namespace window_panel
