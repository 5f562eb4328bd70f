#pragma once

#include <array>
#include <mutex>
#include <optional>
#include <vector>

#include "plant/tags.h"
#include "plant/value.h"

namespace window_panel {

/// What became of a tag since somebody looked last.
struct Change {
    Tag tag;
    std::optional<Value> value; ///< the latest; nothing when only the next field changed
    bool readable = true;       ///< false when the plant has no good value for it now
};

/// Where the library's threads leave values and the window fetches them at its own pace. However fast they
/// come, no more wait here than one a tag.
class LatestValues {
public:
    /// Both on any thread.
    void put(Tag tag, Value value);
    void setReadable(Tag tag, bool readable);

    /// What changed since the last call.
    std::vector<Change> take();

private:
    struct Place {
        std::optional<Value> value;
        bool readable = true;
        bool changed = false;
    };

    std::mutex m_mutex;
    std::array<Place, tagCount> m_places;
};

} // namespace window_panel
