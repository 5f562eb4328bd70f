#include "client_fixture.h"

#include <filesystem>
#include <fstream>
#include <regex>

namespace {

class Trace : public ClientTest {
protected:
    static std::filesystem::path file() {
        return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "OpcUaClient.log";
    }

    /// What this case wrote: the program runs in a directory of its own, but may run more than one case.
    std::vector<std::string> lines() const {
        std::ifstream stream(file());
        stream.seekg(static_cast<std::streamoff>(m_start));
        std::vector<std::string> result;
        for (std::string line; std::getline(stream, line);) {
            result.push_back(line);
        }
        return result;
    }

    bool anyLineHas(const std::string& text) const {
        for (const std::string& line : lines()) {
            if (line.find(text) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    std::uintmax_t m_start = std::filesystem::exists(file()) ? std::filesystem::file_size(file()) : 0;

    void init(int level) { EXPECT_EQ(client.OpcUaInit(static_cast<_OpcUaClientTraceLevel>(level)), 0); }
};

TEST_F(Trace, EveryLineCarriesATimeInUtc) {
    init(7);
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaDisConnect(), 0);
    const std::regex form(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z .+)");
    const std::vector<std::string> written = lines();
    ASSERT_GT(written.size(), 10U);
    for (const std::string& line : written) {
        EXPECT_TRUE(std::regex_match(line, form)) << line;
    }
}

TEST_F(Trace, LevelZeroWritesNothingButFailsNothing) {
    init(0);
    EXPECT_EQ(connect("opc.tcp://no-such-host.invalid:1"), 1);
    ASSERT_EQ(connect(), 0);
    for (const std::string& line : lines()) {
        EXPECT_EQ(line.find("no-such-host"), std::string::npos) << line;
    }
}

TEST_F(Trace, LevelOneTellsWhyAConnectFailed) {
    init(1);
    EXPECT_EQ(connect("opc.tcp://no-such-host.invalid:1"), 1);
    EXPECT_TRUE(anyLineHas("no-such-host.invalid"));
}

TEST_F(Trace, ConnectionLifeCycleOfTheEngineIsIncludedFromLevelThreeOn) {
    init(2);
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_FALSE(anyLineHas("CONNECTION"));
    init(3);
    ASSERT_EQ(connect(), 0);
    EXPECT_TRUE(anyLineHas("CONNECTION"));
}

} // namespace
