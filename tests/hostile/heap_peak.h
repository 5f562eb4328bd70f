#pragma once

#include <cstddef>

/// How much more memory this process had in use than when the object was made, at its worst. Counts in
/// programs that compile heap_peak.cpp. One at a time.
class HeapPeak {
public:
    HeapPeak();
    std::size_t growth() const;

private:
    std::ptrdiff_t m_start;
};
