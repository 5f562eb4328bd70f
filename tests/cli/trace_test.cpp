#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OpcUaClientInterface.h"
#include "OpcUaHelpers.h"
#include "files/trace.h"
#include "loopback_port.h"
#include "options.h"
#include "support/next_definition.h"
#include "support/temporary_directory.h"

using namespace opcua_cli;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

namespace fs = std::filesystem;

std::string lastMade; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

/// A folder for temporary files of its own, for as long as it lives.
class TemporaryFiles {
public:
    TemporaryFiles() { setenv("TMPDIR", m_directory.path().c_str(), 1); }
    ~TemporaryFiles() { unsetenv("TMPDIR"); }
    TemporaryFiles(const TemporaryFiles&) = delete;
    TemporaryFiles& operator=(const TemporaryFiles&) = delete;

    const fs::path& path() const { return m_directory.path(); }

private:
    test_support::TemporaryDirectory m_directory;
};

std::string textOf(const fs::path& file) {
    std::ifstream input(file);
    return {std::istreambuf_iterator<char>(input), {}};
}

} // namespace

extern "C" char* mkdtemp(char* form) noexcept {
    static const auto next = nextDefinition<char* (*)(char*)>("mkdtemp");
    char* const made = next(form);
    lastMade = made != nullptr ? made : "";
    return made;
}

TEST(TraceWithoutName, IsNobodyElsesWhoMakesItsDirectoryAnew) {
    const TemporaryFiles temporary;
    COpcUaClientInterface client;
    Trace trace;
    trace.start(client, CommonOptions());
    ASSERT_EQ(fs::path(lastMade).parent_path(), temporary.path());
    ASSERT_TRUE(fs::create_directory(lastMade)) << "it is gone";
    const fs::path planted = fs::path(lastMade) / "OpcUaClient.log";
    const std::string lie = "2026-03-01T12:30:00.123Z [1] ERROR connect | planted\n";
    std::ofstream(planted) << lie;

    const cli_test::LoopbackPort port;
    _OpcUaClientConfig config{};
    OpcUaSetField(config.endpointUrl, port.url());
    std::vector<std::string> texts = trace.newTexts();
    EXPECT_NE(client.OpcUaConnect(config), 0);
    for (int i = 0; i < 2; ++i)
        for (const std::string& text : trace.newTexts())
            texts.push_back(text);
    EXPECT_EQ(textOf(planted), lie);
    EXPECT_THAT(texts, Not(Contains(HasSubstr("planted"))));
    EXPECT_THAT(texts, Contains(HasSubstr(port.number()))) << "the true one goes on";
}

TEST(TraceWithoutName, BeginsAnewWithoutHoldingMoreOfTheSystem) {
    const TemporaryFiles temporary;
    const cli_test::LoopbackPort port;
    _OpcUaClientConfig config{};
    OpcUaSetField(config.endpointUrl, port.url());
    COpcUaClientInterface client;
    Trace trace;
    const auto descriptorsAfterStart = [&] {
        trace.start(client, CommonOptions());
        EXPECT_NE(client.OpcUaConnect(config), 0);
        EXPECT_THAT(trace.newTexts(), Contains(HasSubstr(port.number())));
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto first = descriptorsAfterStart();
    EXPECT_EQ(descriptorsAfterStart(), first);
    EXPECT_EQ(descriptorsAfterStart(), first);
    EXPECT_TRUE(fs::is_empty(temporary.path()));
}
