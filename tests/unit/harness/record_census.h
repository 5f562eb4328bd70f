#pragma once

/// Follows the node records on the heap: this program replaces the global operator new and delete, and every
/// block of exactly one OpcUaNode counts as a record. Fresh records are filled with a pattern, so that a
/// field which the library forgets to set shows.
namespace record_census {

/// Records that were allocated and not freed.
long live();

/// While one exists, freed records are kept back and filled with a pattern: freeing one again is counted, and
/// following a pointer out of one crashes.
class Quarantine {
public:
    Quarantine();
    ~Quarantine();
    Quarantine(const Quarantine&) = delete;
    Quarantine& operator=(const Quarantine&) = delete;

    long freedOnce() const;
    long freedAgain() const;
    /// Place of a record in the order in which they were freed, from 1; 0 when it was not.
    long placeOf(const void* record) const;
};

} // namespace record_census
