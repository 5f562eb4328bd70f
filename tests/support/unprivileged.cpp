#include "support/unprivileged.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <grp.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t nobody = 65534;
constexpr int rightsNotDropped = 254;

int runAsNobody(const std::function<int()>& body) {
    const bool dropped =
        ::geteuid() != 0 || (::setgroups(0, nullptr) == 0 && ::setresgid(nobody, nobody, nobody) == 0 &&
                             ::setresuid(nobody, nobody, nobody) == 0);
    return dropped ? body() : rightsNotDropped;
}

} // namespace

int runInChild(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body());
    int status = 0;
    pid_t ended = 0;
    do {
        ended = ::waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
    if (child < 0 || ended != child || !WIFEXITED(status))
        throw std::runtime_error("the child did not run to its end");
    return WEXITSTATUS(status);
}

int runUnprivileged(const std::function<int()>& body) {
    const int answer = runInChild([&body] { return runAsNobody(body); });
    if (answer == rightsNotDropped)
        throw std::runtime_error("the child could not drop its rights");
    return answer;
}

void giveToUnprivileged(const std::filesystem::path& path) {
    if (::geteuid() != 0)
        return;
    const auto give = [](const std::filesystem::path& entry) {
        if (::lchown(entry.c_str(), nobody, nobody) != 0)
            throw std::runtime_error("cannot give " + entry.string() + " away");
    };
    give(path);
    if (std::filesystem::is_directory(path))
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
            give(entry.path());
}
