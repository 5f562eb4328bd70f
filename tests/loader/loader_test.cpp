#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "support/child_process.h"
#include "support/server_process.h"
#include "support/temporary_directory.h"

using namespace test_support;

namespace {

// Runs a probe from a directory of its own; all that matters is that it ends well and has nothing to complain
// about.
void endsWell(const std::filesystem::path& probe, const std::vector<std::string>& arguments) {
    const TemporaryDirectory directory;
    const std::filesystem::path copy = directory.path() / probe.filename();
    std::filesystem::copy_file(probe, copy);
    const ProgramResult result = runProgram(copy.string(), arguments);
    EXPECT_EQ(result.end.text(), "exit code 0");
    EXPECT_EQ(result.standardOutput, "done\n");
    EXPECT_EQ(result.standardError, "");
}

void loaderProbeEndsWell(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), CLIENT_LIBRARY);
    endsWell(LOADER_PROBE, arguments);
}

TEST(Loader, LoadsAndExits) {
    loaderProbeEndsWell({"load"});
}

TEST(Loader, LoadsAndUnloads) {
    loaderProbeEndsWell({"unload"});
}

TEST(Loader, LoadsAndUnloadsAgainAndAgain) {
    loaderProbeEndsWell({"cycles"});
}

TEST(Loader, ExitsWithAClientLeftBehind) {
    loaderProbeEndsWell({"leave-client"});
}

TEST(Loader, ExitsWhileConnected) {
    PlantServer server;
    loaderProbeEndsWell({"leave-connected", server.url()});
    EXPECT_EQ(server.stop().text(), "exit code 0");
}

TEST(Loader, UnloadsAfterEachConnection) {
    const PlantServer server;
    loaderProbeEndsWell({"connected-cycles", server.url()});
}

TEST(Loader, ConnectionOutlivesTheStartOfAnotherProgram) {
    const PlantServer server;
    loaderProbeEndsWell({"fork-exec", server.url()});
}

class StaticClient : public testing::TestWithParam<const char*> {};

TEST_P(StaticClient, IsDestroyedAtExit) {
    endsWell(GetParam(), {});
}

TEST_P(StaticClient, IsDestroyedAtExitWhileConnected) {
    const PlantServer server;
    endsWell(GetParam(), {server.url()});
}

INSTANTIATE_TEST_SUITE_P(LinkOrder, StaticClient,
                         testing::Values(STATIC_CLIENT_PROBE, STATIC_CLIENT_PROBE_SDK_FIRST),
                         [](const auto& probe) {
                             const bool sdkFirst = std::string(probe.param) == STATIC_CLIENT_PROBE_SDK_FIRST;
                             return sdkFirst ? "SdkFirst" : "ClientAlone";
                         });

} // namespace
