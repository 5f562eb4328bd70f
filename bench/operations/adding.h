#pragma once

#include <string>
#include <vector>

#include "changes/change_sink.h"
#include "facade/facade_items.h"
#include "measuring/comparison.h"
#include "raw/raw_items.h"
#include "surroundings/tags.h"

namespace bench {

/// Slow enough that what the items deliver meanwhile takes little of the time that adding them takes.
constexpr double slowPublishing = 500;

/// Seconds for adding tags to a subscription that has no items.
inline Block libraryAdds(const std::string& url, int items) {
    return [url, nodes = tags(0, items)] {
        std::vector<OpcUaNode> records = recordsOf(nodes);
        CountingSink sink;
        FacadeItems subscription(url, slowPublishing, sink);
        return secondsOf([&] { subscription.add(records); });
    };
}

inline Block rawAdds(const std::string& url, int items) {
    return [url, nodes = tags(0, items)] {
        const RawNodeIds ids(nodes);
        CountingSink sink;
        RawItems subscription(url, slowPublishing, sink);
        return secondsOf([&] { subscription.add(ids.ids()); });
    };
}

} // namespace bench
