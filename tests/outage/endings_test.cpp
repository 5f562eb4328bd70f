#include <functional>
#include <future>
#include <memory>
#include <ostream>

#include "outage_fixture.h"

using namespace std::chrono_literals;

namespace {

/// A client says goodbye for a second at most. Beyond that only a machine without time is to blame.
constexpr auto limit = 3s;

struct Case {
    const char* name;
    test_support::OutageProxy::Silence silence;
    bool noticed; ///< the status tells of the silence already
};

std::ostream& operator<<(std::ostream& stream, const Case& tested) {
    return stream << tested.name;
}

class EndingInAnOutage : public OutageTest, public testing::WithParamInterface<Case> {
protected:
    void startPanels() {
        startPlant();
        for (auto& panel : panels) {
            panel = std::make_unique<Panel>(network().url());
            ASSERT_NO_FATAL_FAILURE(panel->monitor({counter}));
        }
    }

    /// Runs beside the test: an operation that waits for the silence to end must not make the test wait, too.
    static void expectSoonDone(const char* what, const std::function<void()>& operation) {
        const auto done = std::async(std::launch::async, operation);
        EXPECT_EQ(done.wait_for(limit), std::future_status::ready) << what;
    }

    std::unique_ptr<Panel> panels[3];
};

TEST_P(EndingInAnOutage, TakesAMoment) {
    ASSERT_NO_FATAL_FAILURE(startPanels());
    network().fallSilent(GetParam().silence);
    for (auto& panel : panels)
        ASSERT_TRUE(!GetParam().noticed || panel->waitForStatus(2));
    Panel& disconnecting = *panels[0];
    Panel& reconnecting = *panels[1];
    Panel& ending = *panels[2];
    expectSoonDone("disconnect", [&] {
        EXPECT_EQ(disconnecting.client().OpcUaDisConnect(), 0);
        EXPECT_EQ(disconnecting.client().OpcUaGetConnectStatus(), 0);
    });
    expectSoonDone("connect anew, to a server within reach", [&] {
        _OpcUaClientConfig config = configFor(server().url());
        EXPECT_EQ(reconnecting.client().OpcUaConnect(config), 0);
        EXPECT_EQ(reconnecting.read(counter, OpcUaDataType_UInt32), 0);
    });
    expectSoonDone("destroy", [&] { ending.destroyClient(); });
    network().speak();
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, EndingInAnOutage,
    testing::Values(Case{"HeldUnnoticed", test_support::OutageProxy::Silence::Held, false},
                    Case{"LostUnnoticed", test_support::OutageProxy::Silence::Lost, false},
                    Case{"HeldNoticed", test_support::OutageProxy::Silence::Held, true}),
    [](const testing::TestParamInfo<Case>& tested) { return tested.param.name; });

} // namespace
