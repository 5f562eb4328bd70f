#include "latest_values.h"

#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace window_panel {

void LatestValues::put(Tag tag, Value value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_places[indexOf(tag)] = {std::move(value), true, true};
}

void LatestValues::setReadable(Tag tag, bool readable) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    Place& place = m_places[indexOf(tag)];
    place.changed = place.changed || place.readable != readable;
    place.readable = readable;
}

std::vector<Change> LatestValues::take() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Change> changes;
    for (const Tag tag : allTags()) {
        Place& place = m_places[indexOf(tag)];
        if (place.changed)
            changes.push_back({tag, std::move(place.value), place.readable});
        place = {std::nullopt, place.readable, false};
    }
    return changes;
}

} // namespace window_panel
