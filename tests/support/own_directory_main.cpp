// A main() for suites whose library writes beside the executable (trace file, certificate store) or reads
// from there (configuration file): the program runs from a copy in a directory of its own, so that cases may
// run in parallel and leave nothing behind.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "support/temporary_directory.h"

namespace {

constexpr const char* copyMark = "TEST_PROGRAM_IS_A_COPY";

bool onlyListsTests(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--gtest_list_tests") == 0)
            return true;
    return false;
}

[[noreturn]] void becomeCopy(const std::string& copy, char** argv) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setenv(copyMark, "1", 1);
    execv(copy.c_str(), argv);
    std::perror(copy.c_str());
    std::_Exit(127);
}

int runCopy(char** argv) {
    const test_support::TemporaryDirectory directory;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path copy = directory.path() / self.filename();
    std::filesystem::copy_file(self, copy);
    const pid_t child = fork();
    if (child == 0)
        becomeCopy(copy.string(), argv);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        std::perror("own_directory_main");
        return 1;
    }
    if (WIFSIGNALED(status)) {
        std::cerr << "ended by signal " << WTERMSIG(status) << " (" << strsignal(WTERMSIG(status)) << ")\n";
        return 1;
    }
    return WEXITSTATUS(status);
}

} // namespace

int main(int argc, char** argv) {
    if (std::getenv(copyMark) == nullptr && !onlyListsTests(argc, argv))
        return runCopy(argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
