#include <map>
#include <optional>
#include <string>
#include <vector>

#include <open62541/client_highlevel.h>

#include "plant_fixture.h"

using test_support::PlantServer;
using test_support::RawClient;
using test_support::ReadValue;
using test_support::waitUntil;

class PlantMovement : public PlantTest {
protected:
    bool changes(const std::string& node) {
        const ReadValue first = client->read(node);
        return waitUntil([&] {
            const ReadValue now = client->read(node);
            return UA_order(&first.variant(), &now.variant(), &UA_TYPES[UA_TYPES_VARIANT]) != UA_ORDER_EQ;
        });
    }
};

TEST_F(PlantMovement, EverythingThatShouldMoves) {
    start({"--interval", "10"});
    for (const char* name : {"Sine", "Ramp", "RandomWalk", "Toggle", "Text", "Counter", "Array", "Matrix"})
        EXPECT_TRUE(changes(rack("Moving.") + name)) << name;
    for (const char* node :
         {"Line1.PartCount", "Boiler.Drum.Level", "Tanks.Tank2.Level", "Conveyors.Conveyor1.ItemCount"})
        EXPECT_TRUE(changes(std::string("ns=2;s=") + node)) << node;
}

TEST_F(PlantMovement, CounterIsTheTick) {
    start({"--interval", "10"});
    ASSERT_TRUE(changes(rack("Moving.Counter")));
    const std::vector<ReadValue> values =
        client->readAll({rack("Moving.Counter"), rack("Diagnostics.Ticks")});
    EXPECT_EQ(values[0].get<UA_UInt32>(), values[1].get<UA_UInt64>());
}

TEST_F(PlantMovement, LineFollowsItsOperator) {
    start({"--interval", "10"});
    const std::string speed = "ns=2;s=Line1.Speed";
    ASSERT_EQ(client->write("ns=2;s=Line1.SpeedSetpoint", UA_Double{0.75}), UA_STATUSCODE_GOOD);
    EXPECT_TRUE(waitUntil([&] { return client->value<UA_Double>(speed) == 0.75; }));
    EXPECT_EQ(client->value<UA_Int32>("ns=2;s=Line1.State"), 1);

    EXPECT_TRUE(waitUntil([&] { return client->value<UA_UInt32>("ns=2;s=Line1.PartCount") > 0; }));
    const auto call = [&](const char* method) {
        return UA_Client_call(client->get(), UA_NODEID_STRING(2, const_cast<char*>("Line1")),
                              UA_NODEID_STRING(2, const_cast<char*>(method)), 0, nullptr, nullptr, nullptr);
    };
    ASSERT_EQ(call("Line1.Stop"), UA_STATUSCODE_GOOD);
    EXPECT_TRUE(waitUntil([&] { return client->value<UA_Double>(speed) == 0; }));
    EXPECT_TRUE(waitUntil([&] { return client->value<UA_Int32>("ns=2;s=Line1.State") == 0; }));
    ASSERT_EQ(call("Line1.ResetPartCount"), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->value<UA_UInt32>("ns=2;s=Line1.PartCount"), 0U);
    ASSERT_EQ(call("Line1.Start"), UA_STATUSCODE_GOOD);
    EXPECT_TRUE(client->value<UA_Boolean>("ns=2;s=Line1.Running"));
}

namespace {

/// The random walk by tick, as far as it was seen.
class Record {
public:
    explicit Record(const std::string& seed)
        : m_server({"--interval", "20", "--seed", seed}), m_client(m_server.url()) {}

    void look() {
        const std::vector<ReadValue> values =
            m_client.readAll({"ns=3;s=TestRack.Moving.Counter", "ns=3;s=TestRack.Moving.RandomWalk"});
        m_walk[values[0].get<UA_UInt32>()] = values[1].get<UA_Double>();
    }
    const std::map<UA_UInt32, double>& walk() const { return m_walk; }

private:
    PlantServer m_server;
    RawClient m_client;
    std::map<UA_UInt32, double> m_walk;
};

/// A tick, not the first, that all of them saw.
std::optional<UA_UInt32> commonTick(const std::vector<const Record*>& records) {
    for (const auto& entry : records[0]->walk())
        if (entry.first > 0 && records[1]->walk().count(entry.first) > 0 &&
            records[2]->walk().count(entry.first) > 0)
            return entry.first;
    return std::nullopt;
}

} // namespace

TEST_F(PlantMovement, SeedDecidesTheWalk) {
    Record first("7");
    Record second("7");
    Record other("8");
    std::optional<UA_UInt32> tick;
    ASSERT_TRUE(waitUntil([&] {
        first.look();
        second.look();
        other.look();
        tick = commonTick({&first, &second, &other});
        return tick.has_value();
    }));
    EXPECT_EQ(first.walk().at(*tick), second.walk().at(*tick));
    EXPECT_NE(first.walk().at(*tick), other.walk().at(*tick));
}
