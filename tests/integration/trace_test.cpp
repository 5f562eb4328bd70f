#include <regex>

#include "client_fixture.h"
#include "trace_file.h"

namespace {

class Trace : public ClientTest {
protected:
    void init(int level) { EXPECT_EQ(client.OpcUaInit(static_cast<_OpcUaClientTraceLevel>(level)), 0); }

    const TraceFile trace{};
};

TEST_F(Trace, EveryLineCarriesATimeInUtc) {
    init(7);
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaDisConnect(), 0);
    const std::regex form(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z .+)");
    const std::vector<std::string> written = trace.lines();
    ASSERT_GT(written.size(), 10U);
    for (const std::string& line : written) {
        EXPECT_TRUE(std::regex_match(line, form)) << line;
    }
}

TEST_F(Trace, LevelZeroWritesNothingButFailsNothing) {
    init(0);
    EXPECT_EQ(connect("opc.tcp://no-such-host.invalid:1"), 1);
    ASSERT_EQ(connect(), 0);
    for (const std::string& line : trace.lines()) {
        EXPECT_EQ(line.find("no-such-host"), std::string::npos) << line;
    }
}

TEST_F(Trace, LevelOneTellsWhyAConnectFailed) {
    init(1);
    EXPECT_EQ(connect("opc.tcp://no-such-host.invalid:1"), 1);
    EXPECT_GT(trace.linesWith("no-such-host.invalid"), 0);
}

TEST_F(Trace, ConnectionLifeCycleOfTheEngineIsIncludedFromLevelThreeOn) {
    init(2);
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_EQ(trace.linesWith("CONNECTION"), 0);
    init(3);
    ASSERT_EQ(connect(), 0);
    EXPECT_GT(trace.linesWith("CONNECTION"), 0);
}

} // namespace
