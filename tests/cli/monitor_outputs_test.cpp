#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "live_table_pieces.h"
#include "monitor/output.h"

using namespace opcua_cli;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string errorsWithChangesLeftUnread(MonitorOutput& output) {
    testing::internal::CaptureStderr();
    output.leftUnread(3);
    output.flush();
    return testing::internal::GetCapturedStderr();
}

const Monitored monitored{"opc.tcp://one", Jobs(1)};

} // namespace

TEST(MonitorOutputs, LinesTellWhatWasNotReadAnyMore) {
    const auto lines = makeTextLines(monitored);
    EXPECT_THAT(errorsWithChangesLeftUnread(*lines),
                AllOf(HasSubstr("3 changes were not read any more"), Not(HasSubstr("faster"))));
}

TEST(MonitorOutputs, DocumentsTellWhatWasNotReadAnyMore) {
    const auto lines = makeJsonLines(monitored);
    testing::internal::CaptureStdout();
    errorsWithChangesLeftUnread(*lines);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                AllOf(HasSubstr(R"("event":"leftUnread")"), HasSubstr(R"("count":3)")));
}

TEST(MonitorOutputs, TheTableTellsWhatWasNotReadAnyMore) {
    LiveTable table(monitored);
    table.leftUnread(3);
    EXPECT_THAT(table.draw(cli_test::terminal(), cli_test::start),
                HasSubstr("changes that were not read any more: 3"));
}
