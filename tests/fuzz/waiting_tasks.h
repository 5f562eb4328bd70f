#pragma once

// waiting_tasks.cpp stands in for what has threads of its own: callbacks run when they are told to, and a
// host name is an address.

/// Runs what was posted to callback threads.
void runWaitingTasks();
void dropWaitingTasks();
