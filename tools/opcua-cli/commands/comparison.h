#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "commands/difference_rows.h"
#include "formats/snapshot_file.h"

namespace opcua_cli {

/// A node that is not the same on both sides; null on the side that has no value of it.
struct Difference {
    enum class Kind { Changed, TypeChanged, Missing, Added, NotReadable };

    Kind kind;
    const Job* before;
    const Job* after;
    std::string reason{}; ///< of what is not readable

    const NodeInfo& node() const { return (after != nullptr ? after : before)->node; }
};

struct Comparison {
    std::vector<Difference> differences{};
    std::size_t equal = 0; ///< nodes that are the same
    bool complete = true;  ///< false when one of the snapshots is not

    std::size_t count(Difference::Kind kind) const;
};

/// The same for Float and Double that differ by no more.
SameValue sameWithin(double tolerance);

/// Compares what two snapshots have of each node. They must live on.
Comparison compare(const Snapshot& before, const Snapshot& after, const SameValue& same);

} // namespace opcua_cli
