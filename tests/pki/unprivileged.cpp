#include "unprivileged.h"

#include <cerrno>
#include <stdexcept>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t nobody = 65534;
constexpr int rightsNotDropped = 254;

int runAsNobody(const std::function<int()>& body) {
    bool dropped =
        ::geteuid() != 0 || (::setgroups(0, nullptr) == 0 && ::setresgid(nobody, nobody, nobody) == 0 &&
                             ::setresuid(nobody, nobody, nobody) == 0);
    return dropped ? body() : rightsNotDropped;
}

} // namespace

int runUnprivileged(const std::function<int()>& body) {
    pid_t child = ::fork();
    if (child == 0) {
        ::_exit(runAsNobody(body));
    }
    int status = 0;
    pid_t ended = 0;
    do {
        ended = ::waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
    if (child < 0 || ended != child || !WIFEXITED(status) || WEXITSTATUS(status) == rightsNotDropped) {
        throw std::runtime_error("the unprivileged child did not run to its end");
    }
    return WEXITSTATUS(status);
}
