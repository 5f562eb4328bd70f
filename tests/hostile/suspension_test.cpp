// A machine that sleeps: time goes on, and the clock that counts what a program could have run does not.
#include <chrono>
#include <cstdint>
#include <set>

#include "hostile/hostile_fixture.h"
#include "support/moved_clock.h"

using namespace scripted;

namespace {

class SuspendedMachine : public HostileTest {
protected:
    ~SuspendedMachine() override { test_support::moveClock(CLOCK_BOOTTIME, std::chrono::seconds(0)); }

    static constexpr std::chrono::seconds tokenLifetime = std::chrono::hours(1);
};

TEST_F(SuspendedMachine, AsksForATokenWhenItsOwnIsOverBySleepAlone) {
    server.edit<UA_OpenSecureChannelResponse>([](UA_OpenSecureChannelResponse& response) {
        response.securityToken.revisedLifetime =
            static_cast<std::uint32_t>(std::chrono::milliseconds(tokenLifetime).count());
    });
    monitor(1, 5000);
    ASSERT_TRUE(waitForValue(42));
    test_support::moveClock(CLOCK_BOOTTIME, 2 * tokenLifetime);
    std::set<int> statuses;
    EXPECT_TRUE(waitUntil([&] {
        statuses.insert(status());
        return server.count<UA_OpenSecureChannelRequest>() >= 2;
    }));
    server.publisher().publish(43);
    EXPECT_TRUE(waitForValue(43));
    statuses.insert(status());
    EXPECT_EQ(statuses, std::set<int>{connected});
    expectUnharmed();
}

} // namespace
