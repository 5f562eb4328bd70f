// The network stalls at random moments for random times of up to 12 s, while an application works.
//
// TEST_STALLS=100 chooses how often, TEST_SEED their sequence.
#include <atomic>
#include <chrono>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "from_environment.h"
#include "outage_fixture.h"

using std::chrono::milliseconds;
using testing::IsSubsetOf;

namespace {

constexpr int tagCount = 1000;

/// Reads all the time and keeps the result codes that it met.
class Reader {
public:
    explicit Reader(Panel& panel) : m_thread([this, &panel] { run(panel); }) {}
    ~Reader() { stop(); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    const std::set<int>& stop() {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
        return m_codes;
    }

private:
    void run(Panel& panel) {
        while (!m_stop) {
            m_codes.insert(panel.read("ns=3;s=TestRack.Scalar.Double", OpcUaDataType_Double));
            std::this_thread::sleep_for(milliseconds(10));
        }
    }

    std::atomic<bool> m_stop{false};
    std::set<int> m_codes;
    std::thread m_thread;
};

TEST_F(OutageTest, RandomStallsLoseNothing) {
    startPlant(tagCount);
    Panel panel(network().url());
    std::vector<std::string> ids = tagIds(tagCount);
    ids.emplace_back(counter);
    ASSERT_NO_FATAL_FAILURE(panel.monitor(ids));
    const Beginnings before = beginnings();
    std::mt19937 random(fromEnvironment("TEST_SEED", 1));
    std::uniform_int_distribution<int> pauses(0, 1000);
    std::uniform_int_distribution<int> stalls(0, 12000);
    Reader reader(panel);

    const unsigned count = fromEnvironment("TEST_STALLS", 1);
    for (unsigned i = 0; i < count && !HasFailure(); ++i) {
        std::this_thread::sleep_for(milliseconds(pauses(random)));
        const milliseconds length(stalls(random));
        SCOPED_TRACE("stall " + std::to_string(i) + ", " + std::to_string(length.count()) + " ms");
        network().fallSilent(random() % 2 == 0 ? Silence::Held : Silence::Lost);
        std::this_thread::sleep_for(length);
        const double reached = counterNow();
        network().speak();
        ASSERT_TRUE(panel.waitForAtLeast(counter, reached));
        expectWhole(panel);
        EXPECT_EQ(beginnings(), before);
    }
    EXPECT_THAT(reader.stop(), IsSubsetOf({0, 3, 7}));
}

} // namespace
