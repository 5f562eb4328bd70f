#pragma once

namespace bench {

/// Memory of this process that is in place.
double residentBytes();
/// What malloc has given out and not got back.
double heapBytes();
/// CPU time of all threads of this process, in the kernel too.
double cpuSeconds();

} // namespace bench
