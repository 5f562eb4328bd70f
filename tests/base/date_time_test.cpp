#include <chrono>
#include <limits>
#include <ratio>

#include <gtest/gtest.h>

#include "uabase/date_time.h"

namespace {

struct Moment {
    OpcUa_DateTime ticks;
    const char* text;
};

constexpr Moment moments[] = {
    {0, "1601-01-01T00:00:00.000Z"},
    {-1, "1600-12-31T23:59:59.999Z"},
    {UA_DATETIME_UNIX_EPOCH, "1970-01-01T00:00:00.000Z"},
    {UA_DATETIME_UNIX_EPOCH + 9999, "1970-01-01T00:00:00.000Z"},
    {UA_DATETIME_UNIX_EPOCH + 10000, "1970-01-01T00:00:00.001Z"},
    {UA_DATETIME_UNIX_EPOCH + 951782400LL * UA_DATETIME_SEC, "2000-02-29T00:00:00.000Z"},
    {UA_DATETIME_UNIX_EPOCH + 1772368200LL * UA_DATETIME_SEC, "2026-03-01T12:30:00.000Z"},
    {UA_DATETIME_UNIX_EPOCH + 253402300799LL * UA_DATETIME_SEC, "9999-12-31T23:59:59.000Z"},
    {std::numeric_limits<OpcUa_DateTime>::max(), "30828-09-14T02:48:05.477Z"},
};

TEST(DateTime, TextIsIsoInUtcWithMilliseconds) {
    for (const Moment& moment : moments)
        EXPECT_STREQ(UaDateTime(moment.ticks).toString().toUtf8(), moment.text) << moment.ticks;
}

TEST(DateTime, NowLiesBetweenTwoReadingsOfTheSystemClock) {
    using std::chrono::system_clock;
    const auto ticks = [] {
        using Ticks = std::chrono::duration<OpcUa_DateTime, std::ratio<1, 10000000>>;
        return UA_DATETIME_UNIX_EPOCH +
               std::chrono::duration_cast<Ticks>(system_clock::now().time_since_epoch()).count();
    };
    const OpcUa_DateTime before = ticks();
    const OpcUa_DateTime now = UaDateTime::now().ticks();
    EXPECT_GE(now, before);
    EXPECT_LE(now, ticks());
}

} // namespace
