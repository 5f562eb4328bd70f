#include <thread>

#include "outage_fixture.h"
#include "support/child_process.h"

using namespace std::chrono_literals;

namespace {

/// The node never changes: keep-alives are all that the subscription has to say.
TEST_F(OutageTest, ASuspendedClientGoesOnAsIfNothingHadBeen) {
    startPlant(1);
    test_support::ChildProcess panel(SUSPENDED_CLIENT, {network().url(), tagIds(1).front()});
    ASSERT_EQ(panel.waitForLine(60s), "ready");
    const Beginnings before = beginnings();
    panel.freeze();
    std::this_thread::sleep_for(13s);
    panel.resume();
    EXPECT_EQ(panel.waitForLine(60s), "statuses 1, read 0");
    EXPECT_EQ(beginnings(), before);
    EXPECT_EQ(panel.wait(60s)->exitCode, 0) << panel.standardError();
}

} // namespace
