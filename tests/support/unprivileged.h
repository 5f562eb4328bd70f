#pragma once

#include <filesystem>
#include <functional>

/// Runs `body` in a child process and returns what it returned (0 to 255). To be called while this process
/// has no other thread.
int runInChild(const std::function<int()>& body);

/// Runs `body` in a child process like runInChild(), without the rights of root, which would pass every check
/// of a file's permissions. Run by anyone else, the child keeps its user.
int runUnprivileged(const std::function<int()>& body);

/// Gives a file or a directory with all that is in it to the user of runUnprivileged().
void giveToUnprivileged(const std::filesystem::path& path);
