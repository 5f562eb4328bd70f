#pragma once

namespace test_support {

/// File descriptors that this process has open.
int openDescriptors();
/// Threads of this process. One that has ended counts for a moment longer, a joined one as well: the kernel
/// wakes who joins a thread before it takes the thread out of its list. So what is compared with later is
/// counted before any thread has ended.
int threadCount();
/// True as soon as this process has so many threads; false when it does not within half a minute.
bool waitForThreadCount(int count);

} // namespace test_support
