#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "client/opcua_client.h"
#include "client_test.h"
#include "subscription/callback.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class StartUp : public ClientTest {
protected:
    void init(int level) { EXPECT_EQ(m_client->OpcUaInit(static_cast<_OpcUaClientTraceLevel>(level)), 0); }

    /// What one call recorded, as "operation(arguments)".
    std::vector<std::string> recorded() {
        std::vector<std::string> result;
        for (const standin::Call& call : script().calls())
            result.push_back(call.operation + "(" + std::get<std::string>(call.arguments) + ")");
        return result;
    }

    /// The log file that one call named.
    std::string logFile() {
        script().forgetCalls();
        init(1);
        for (const standin::Call& call : script().calls()) {
            if (call.operation == "UaTrace::initTrace") {
                const std::string arguments = std::get<std::string>(call.arguments);
                const std::string before = "1, 50000, 10, ";
                const std::string after = ", Kestrova OPCUA Client";
                EXPECT_EQ(arguments.substr(0, before.size()), before);
                EXPECT_EQ(arguments.substr(arguments.size() - after.size()), after);
                return arguments.substr(before.size(), arguments.size() - before.size() - after.size());
            }
        }
        ADD_FAILURE() << "no trace was opened";
        return {};
    }
};

struct TraceRow {
    int level;
    int sdkLevel;
    const char* mask;
};

class TraceLevels : public StartUp, public ::testing::WithParamInterface<TraceRow> {};

std::string nameOf(const ::testing::TestParamInfo<TraceRow>& row) {
    const std::string level = std::to_string(row.param.level);
    return level[0] == '-' ? "Minus" + level.substr(1) : level;
}

} // namespace

TEST_P(TraceLevels, SelectLevelAndMask) {
    platform_recorder::setExecutable("/opt/plant/hmi");
    init(GetParam().level);
    EXPECT_THAT(recorded(),
                ElementsAre("readlink(4096)",
                            "UaTrace::initTrace(" + std::to_string(GetParam().sdkLevel) +
                                ", 50000, 10, /opt/plant/OpcUaClient.log, Kestrova OPCUA Client)",
                            "LibT::setTraceActive(true)",
                            std::string("UaPlatformLayer::changeTraceSettings(1, ") + GetParam().mask + ")",
                            "LibT::setStackTraceActive(true)"));
}

INSTANTIATE_TEST_SUITE_P(Table, TraceLevels,
                         ::testing::Values(TraceRow{1, 1, "0x20"}, TraceRow{2, 2, "0x30"},
                                           TraceRow{3, 3, "0x3C"}, TraceRow{4, 4, "0x38"},
                                           TraceRow{5, 5, "0x3E"}, TraceRow{6, 6, "0x3F"},
                                           TraceRow{7, 7, "0xFFFFFFFF"}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(OutOfRange, TraceLevels,
                         ::testing::Values(TraceRow{0, 0, "0x0"}, TraceRow{8, 0, "0x0"},
                                           TraceRow{-1, 0, "0x0"}, TraceRow{INT_MAX, 0, "0x0"},
                                           TraceRow{INT_MIN, 0, "0x0"}),
                         nameOf);

TEST_F(StartUp, LeavesTheStoredMessageAlone) {
    init(7);
    EXPECT_EQ(message(), "");
    storeEarlierMessage();
    init(0);
    EXPECT_EQ(message(), earlierMessage);
}

TEST_F(StartUp, TakesNoLock) {
    init(3);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(StartUp, CarriesOnWhenTheTraceCannotBeWritten) {
    platform_recorder::answerInitTrace(-1);
    init(2);
    EXPECT_THAT(script().operations(),
                ElementsAre("readlink", "UaTrace::initTrace", "LibT::setTraceActive",
                            "UaPlatformLayer::changeTraceSettings", "LibT::setStackTraceActive"));
    EXPECT_EQ(message(), "");
}

TEST_F(StartUp, OpensTheTraceAnewAtEveryCall) {
    platform_recorder::setExecutable("/opt/plant/hmi");
    init(1);
    script().forgetCalls();
    init(5);
    EXPECT_THAT(
        recorded(),
        ElementsAre("readlink(4096)",
                    "UaTrace::initTrace(5, 50000, 10, /opt/plant/OpcUaClient.log, Kestrova OPCUA Client)",
                    "LibT::setTraceActive(true)", "UaPlatformLayer::changeTraceSettings(1, 0x3E)",
                    "LibT::setStackTraceActive(true)"));
}

TEST_F(StartUp, LogLiesBesideTheExecutable) {
    platform_recorder::setExecutable("/opt/plant/bin/hmi");
    EXPECT_EQ(logFile(), "/opt/plant/bin/OpcUaClient.log");
}

TEST_F(StartUp, ExecutableInTheRootDirectoryGivesAnEmptyDirectory) {
    platform_recorder::setExecutable("/hmi");
    EXPECT_EQ(logFile(), "/OpcUaClient.log");
}

TEST_F(StartUp, PathWithoutSlashIsTakenWhole) {
    platform_recorder::setExecutable("hmi");
    EXPECT_EQ(logFile(), "hmi/OpcUaClient.log");
}

TEST_F(StartUp, OnlyTheLastSlashIsCut) {
    platform_recorder::setExecutable("/opt/plant/");
    EXPECT_EQ(logFile(), "/opt/plant/OpcUaClient.log");
}

TEST_F(StartUp, UnknownExecutableGivesAnEmptyDirectory) {
    platform_recorder::failExecutable();
    EXPECT_EQ(logFile(), "/OpcUaClient.log");
}

TEST_F(StartUp, PlaceHolderInTheDirectoryIsNotReplaced) {
    platform_recorder::setExecutable("/opt/%1/%2/hmi");
    EXPECT_EQ(logFile(), "/opt/%1/%2/OpcUaClient.log");
}

TEST_F(StartUp, LongestPathIsTaken) {
    const std::string directory = "/" + std::string(4090, 'd');
    platform_recorder::setExecutable(directory + "/hmi");
    EXPECT_EQ(logFile(), directory + "/OpcUaClient.log");
}

TEST_F(StartUp, PathThatFillsTheBufferIsRefused) {
    platform_recorder::setExecutable("/" + std::string(4091, 'd') + "/hmi");
    EXPECT_EQ(logFile(), "/OpcUaClient.log");
}

TEST_F(StartUp, LongerPathIsRefused) {
    platform_recorder::setExecutable("/" + std::string(5000, 'd') + "/hmi");
    EXPECT_EQ(logFile(), "/OpcUaClient.log");
}

namespace {

/// What a client's sink of callbacks has been told of its owner.
class SinkLink : public StandInTest {
protected:
    template <typename Client>
    void* ownerAfterConnect(Client& client) {
        _OpcUaClientConfig config = makeConfig();
        EXPECT_EQ(client.OpcUaConnect(config), 0);
        return static_cast<CCallback*>(script().sessionCallback())->owningClient;
    }
};

} // namespace

TEST_F(SinkLink, IsMadeByInit) {
    COpcUaClientInterface client;
    EXPECT_EQ(ownerAfterConnect(client), nullptr);
    EXPECT_EQ(client.OpcUaInit(OpcUaTraceLevel_Errors), 0);
    // A facade is a virtual table pointer and the pointer to its client.
    void* implementation[2];
    static_assert(sizeof implementation == sizeof client, "the facade's layout is fixed");
    std::memcpy(implementation, static_cast<const void*>(&client), sizeof client);
    EXPECT_EQ(ownerAfterConnect(client), implementation[1]);
}

TEST_F(SinkLink, IsMadeAnewByEveryInit) {
    COpcUaClient client;
    int owners[2];
    for (int& owner : owners) {
        client.installClient(&owner);
        EXPECT_EQ(client.OpcUaInit(OpcUaTraceLevel_Errors), 0);
        EXPECT_EQ(ownerAfterConnect(client), &owner);
    }
}

namespace {

class ApplicationPath : public StandInTest {
protected:
    std::string path() {
        const std::unique_ptr<char[]> directory(m_client.getAppPath());
        if (!directory)
            return "none";
        const std::string text = directory.get();
        std::memset(directory.get(), 'x', 4096); // it is the caller's, all of it
        return text;
    }

    COpcUaClient m_client;
};

} // namespace

TEST_F(ApplicationPath, IsTheExecutablesDirectory) {
    EXPECT_EQ(path(), std::filesystem::read_symlink("/proc/self/exe").parent_path().string());
    platform_recorder::setExecutable("/opt/plant/bin/hmi");
    EXPECT_EQ(path(), "/opt/plant/bin");
}

TEST_F(ApplicationPath, OfTheRootDirectoryIsEmpty) {
    platform_recorder::setExecutable("/hmi");
    EXPECT_EQ(path(), "");
}

TEST_F(ApplicationPath, WithoutSlashIsTheWholeText) {
    platform_recorder::setExecutable("hmi");
    EXPECT_EQ(path(), "hmi");
}

TEST_F(ApplicationPath, OfAnEmptyLinkIsEmpty) {
    platform_recorder::setExecutable("");
    EXPECT_EQ(path(), "");
}

TEST_F(ApplicationPath, EndsAt4095Bytes) {
    const std::string directory(4091, 'd');
    platform_recorder::setExecutable(directory + "/hmi");
    EXPECT_EQ(path(), directory);
    platform_recorder::setExecutable(directory + "/hmi2");
    EXPECT_EQ(path(), "none");
    platform_recorder::setExecutable(std::string(4095, 'f'));
    EXPECT_EQ(path(), std::string(4095, 'f'));
    platform_recorder::setExecutable(std::string(5000, 'f'));
    EXPECT_EQ(path(), "none");
}

TEST_F(ApplicationPath, OfAnUnknownExecutableIsNull) {
    platform_recorder::failExecutable();
    EXPECT_EQ(path(), "none");
}

namespace {

class NamedDirectory : public ApplicationPath {
protected:
    NamedDirectory() { platform_recorder::setExecutable("/opt/plant/bin/hmi"); }

    std::string pathFor(const std::string& named) {
        platform_recorder::setNamedDirectory(named);
        return path();
    }
};

} // namespace

TEST_F(NamedDirectory, StandsForTheExecutables) {
    EXPECT_EQ(pathFor("/var/lib/panel"), "/var/lib/panel");
}

TEST_F(NamedDirectory, MayEndWithSlashes) {
    EXPECT_EQ(pathFor("/var/lib/panel//"), "/var/lib/panel");
    EXPECT_EQ(pathFor("/"), "");
}

TEST_F(NamedDirectory, IsIgnoredUnlessItIsAbsolute) {
    for (const char* named : {"", "panel", "./panel", "~/panel", " /panel"})
        EXPECT_EQ(pathFor(named), "/opt/plant/bin") << named;
}

TEST_F(NamedDirectory, IsIgnoredWhenNoPathCanBeSoLong) {
    EXPECT_EQ(pathFor("/" + std::string(4094, 'd')), "/" + std::string(4094, 'd'));
    EXPECT_EQ(pathFor("/" + std::string(4095, 'd')), "/opt/plant/bin");
}

TEST_F(NamedDirectory, NeedsNoExecutable) {
    platform_recorder::failExecutable();
    EXPECT_EQ(pathFor("/var/lib/panel"), "/var/lib/panel");
}

// A program that runs with more rights than its caller has no such variable for secure_getenv().
TEST_F(NamedDirectory, OfASetUidProgramIsIgnored) {
    ASSERT_EQ(setenv("OPCUACLIENT_DIRECTORY", "/home/caller", 1), 0);
    EXPECT_EQ(path(), "/opt/plant/bin");
    unsetenv("OPCUACLIENT_DIRECTORY");
}

TEST_F(NamedDirectory, HoldsForTheTrace) {
    platform_recorder::setNamedDirectory("/var/lib/panel");
    EXPECT_EQ(m_client.OpcUaInit(OpcUaTraceLevel_Errors), 0);
    const auto& calls = script().calls();
    const auto opened = std::find_if(calls.begin(), calls.end(), [](const standin::Call& call) {
        return call.operation == "UaTrace::initTrace";
    });
    ASSERT_NE(opened, calls.end());
    EXPECT_THAT(std::get<std::string>(opened->arguments),
                ::testing::HasSubstr(" /var/lib/panel/OpcUaClient.log,"));
}

TEST_F(NamedDirectory, HoldsForTheConfiguration) {
    platform_recorder::setNamedDirectory("/var/lib/panel");
    _OpcUaClientConfig config = makeConfig();
    EXPECT_EQ(m_client.OpcUaConnect(config), 0);
    const auto& calls = script().calls();
    const auto opened = std::find_if(calls.begin(), calls.end(), [](const standin::Call& call) {
        return call.operation == "UaSettings::UaSettings";
    });
    ASSERT_NE(opened, calls.end());
    EXPECT_EQ(std::get<std::string>(opened->arguments), "/var/lib/panel/OpcUaClientConfig.ini");
}
