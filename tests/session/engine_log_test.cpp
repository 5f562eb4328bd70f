#include "engine_log.h"

#include <cstdarg>
#include <cstddef>
#include <fstream>
#include <ios>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "uabase/platform_layer.h"
#include "uabase/trace.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

constexpr unsigned int everything = 0xFFFFFFFF;

void log(UA_LogLevel level, UA_LogCategory category, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    UaClientSdk::writeEngineLog(level, category, format, arguments);
    va_end(arguments);
}

class EngineLog : public testing::Test {
protected:
    EngineLog() { UaTrace::initTrace(UaTrace::Off, 50000, 10, UaString(m_file.string()), "Application"); }
    ~EngineLog() override { UaTrace::closeTrace(); }

    std::vector<std::string> lines() const {
        std::ifstream file(m_file);
        std::vector<std::string> result;
        for (std::string line; std::getline(file, line);)
            result.push_back(line);
        return result;
    }

    /// What this mask lets through of one message of every kind.
    std::vector<std::string> severitiesAt(unsigned int mask) const {
        UaPlatformLayer::changeTraceSettings(1, mask);
        std::ofstream(m_file, std::ios::trunc).close();
        log(UA_LOGLEVEL_FATAL, UA_LOGCATEGORY_USERLAND, "fatal");
        log(UA_LOGLEVEL_ERROR, UA_LOGCATEGORY_SESSION, "error");
        log(UA_LOGLEVEL_WARNING, UA_LOGCATEGORY_SECURITYPOLICY, "warning");
        log(UA_LOGLEVEL_INFO, UA_LOGCATEGORY_CLIENT, "life cycle");
        log(UA_LOGLEVEL_INFO, UA_LOGCATEGORY_EVENTLOOP, "information");
        log(UA_LOGLEVEL_DEBUG, UA_LOGCATEGORY_NETWORK, "debugging");
        log(UA_LOGLEVEL_TRACE, UA_LOGCATEGORY_CLIENT, "detail");
        std::vector<std::string> severities;
        for (const std::string& line : lines()) {
            const std::size_t begin = line.find("] ") + 2;
            severities.push_back(line.substr(begin, line.find(' ', begin) - begin));
        }
        return severities;
    }

    test_support::TemporaryDirectory m_directory;
    const std::filesystem::path m_file = m_directory.path() / "client.log";
};

TEST_F(EngineLog, EachBitOfTheMaskLetsItsKindThrough) {
    EXPECT_THAT(severitiesAt(0), IsEmpty());
    EXPECT_THAT(severitiesAt(0x20), ElementsAre("ERROR", "ERROR"));
    EXPECT_THAT(severitiesAt(0x10), ElementsAre("WARNING"));
    EXPECT_THAT(severitiesAt(0x08), ElementsAre("CONNECTION"));
    EXPECT_THAT(severitiesAt(0x04), ElementsAre("INFO"));
    EXPECT_THAT(severitiesAt(0x02), ElementsAre("DEBUG"));
    EXPECT_THAT(severitiesAt(0x01), SizeIs(7));
}

TEST_F(EngineLog, MasksOfTheSevenTraceLevels) {
    EXPECT_THAT(severitiesAt(0x30), ElementsAre("ERROR", "ERROR", "WARNING"));
    EXPECT_THAT(severitiesAt(0x3C), ElementsAre("ERROR", "ERROR", "WARNING", "CONNECTION", "INFO"));
    EXPECT_THAT(severitiesAt(0x38), ElementsAre("ERROR", "ERROR", "WARNING", "CONNECTION"))
        << "the fourth level leaves out what the third shows";
    EXPECT_THAT(severitiesAt(0x3E), ElementsAre("ERROR", "ERROR", "WARNING", "CONNECTION", "INFO", "DEBUG"));
    EXPECT_THAT(severitiesAt(0x3F), SizeIs(7));
    EXPECT_THAT(severitiesAt(everything), SizeIs(7));
}

TEST_F(EngineLog, WhatConcernsTheConnectionIsItsLifeCycle) {
    UaPlatformLayer::changeTraceSettings(1, 0x08);
    for (const UA_LogCategory category :
         {UA_LOGCATEGORY_NETWORK, UA_LOGCATEGORY_SECURECHANNEL, UA_LOGCATEGORY_SESSION, UA_LOGCATEGORY_CLIENT,
          UA_LOGCATEGORY_SECURITYPOLICY, UA_LOGCATEGORY_EVENTLOOP, UA_LOGCATEGORY_USERLAND})
        log(UA_LOGLEVEL_INFO, category, "socket %d of %s", 7, "plant");
    EXPECT_THAT(lines(), ElementsAre(EndsWith("CONNECTION network | socket 7 of plant"),
                                     EndsWith("CONNECTION channel | socket 7 of plant"),
                                     EndsWith("CONNECTION session | socket 7 of plant"),
                                     EndsWith("CONNECTION client | socket 7 of plant")));
}

TEST_F(EngineLog, ALongMessageIsCut) {
    UaPlatformLayer::changeTraceSettings(1, everything);
    log(UA_LOGLEVEL_ERROR, UA_LOGCATEGORY_CLIENT, "%s", std::string(100000, 'x').c_str());
    ASSERT_THAT(lines(), SizeIs(1));
    EXPECT_LT(lines().front().size(), 10000U);
}

} // namespace
