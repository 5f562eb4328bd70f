#pragma once

#include <functional>

/// Runs `body` in a child process without the rights of root, which would pass every check of a file's
/// permissions, and returns what it returned (0 to 255). Run by anyone else, the child keeps its user.
int runUnprivileged(const std::function<int()>& body);
