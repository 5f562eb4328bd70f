#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>

#include "options.h"
#include "server/server.h"

namespace {

constexpr int failure = 1;

bool dieWithParent(pid_t parent) {
    // The parent may have ended before the request was made.
    return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

void announce(const std::string& url) {
    std::printf("plant_server: ready at %s\n", url.c_str());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    const pid_t parent = getppid();
    try {
        const plant_server::ParsedOptions parsed = plant_server::parseOptions(argc, argv);
        if (parsed.exitCode)
            return *parsed.exitCode;
        if (parsed.options.dieWithParent && !dieWithParent(parent))
            return failure;
        plant_server::Server server(parsed.options);
        server.run(announce);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "plant_server: %s\n", error.what());
        return failure;
    }
}
