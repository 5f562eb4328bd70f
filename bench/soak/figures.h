#pragma once

#include <iosfwd>
#include <vector>

namespace soak {

/// What this process holds.
struct Figures {
    double residentMegabytes;
    double heapMegabytes; ///< given out by malloc and not got back
    int descriptors;
    int threads;

    static Figures now();
};

/// Whether the figures of a run stayed flat: the medians of its first and its last quarter. Resident memory
/// may grow by a tenth and 2 MB, what the heap has given out by a twentieth and 0.5 MB, descriptors and
/// threads not at all. Explains its verdict.
bool stayedFlat(const std::vector<Figures>& samples, std::ostream& explanation);

} // namespace soak
