#include <regex>
#include <string>
#include <vector>

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
    for (const std::string& line : written)
        EXPECT_TRUE(std::regex_match(line, form)) << line;
}

TEST_F(Trace, LevelZeroWritesNothingButFailsNothing) {
    init(0);
    EXPECT_EQ(connect("opc.tcp://no-such-host.invalid:1"), 1);
    ASSERT_EQ(connect(), 0);
    for (const std::string& line : trace.lines())
        EXPECT_EQ(line.find("no-such-host"), std::string::npos) << line;
}

TEST_F(Trace, LevelOneTellsWhyAConnectFailed) {
    init(1);
    EXPECT_EQ(connect("opc.tcp://no-such-host.invalid:1"), 1);
    EXPECT_GT(trace.linesWith("no-such-host.invalid"), 0);
}

TEST_F(Trace, LevelTwoTellsWhatTheServerSaidOfANodeThatIsNotReadOrWritten) {
    ASSERT_EQ(connect(), 0);
    double value = 1;
    int size = sizeof value;
    unsigned long index[] = {0};
    OpcUaNode* const unknown = client.OpcUaGetUaNode("ns=3;s=No.Such.Node", OpcUaDataType_Double);
    OpcUaNode* const readOnly = client.OpcUaGetUaNode("ns=2;s=Boiler.Drum.Level", OpcUaDataType_Double);
    OpcUa_ReadNode reads[] = {{unknown, &value, size}};
    OpcUa_WriteNode writes[] = {{readOnly, &value, size}};
    const auto fails = [&](const char* text, auto operation, int code) {
        const long before = trace.linesWith(text);
        EXPECT_EQ(operation(), code);
        return trace.linesWith(text) - before;
    };
    const char* const notRead = "ns=3;s=No.Such.Node is not read: BadNodeIdUnknown";
    const char* const notWritten = "ns=2;s=Boiler.Drum.Level is not written: BadNotWritable";
    for (const int level : {1, 2}) {
        init(level);
        const long lines = level == 2 ? 1 : 0;
        EXPECT_EQ(fails(notRead, [&] { return client.OpcUaGetValue(unknown, &value, size); }, 7), lines);
        EXPECT_EQ(fails(
                      notRead, [&] { return client.OpcUaGetArrayValue(unknown, index, 1, &value, size); }, 7),
                  lines);
        EXPECT_EQ(fails(notRead, [&] { return client.OpcUaGetMultiValue(reads, 1); }, 0), lines);
        EXPECT_EQ(fails(notWritten, [&] { return client.OpcUaSetValue(readOnly, &value, size); }, 8), lines);
        EXPECT_EQ(fails(notWritten, [&] { return client.OpcUaSetMultiValue(writes, 1); }, 0), lines);
    }
}

TEST_F(Trace, LifeCycleOfTheChannelIsIncludedFromLevelThreeOn) {
    init(2);
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_EQ(trace.linesWith("CONNECTION"), 0);
    init(3);
    ASSERT_EQ(connect(), 0);
    EXPECT_GT(trace.linesWith("CONNECTION"), 0);
}

} // namespace
