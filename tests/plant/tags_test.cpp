#include <string>

#include "plant_fixture.h"

using test_support::waitUntil;

class PlantTags : public PlantTest {
protected:
    static std::string tag(const std::string& number) { return "ns=2;s=Tags.Tag" + number; }
};

TEST_F(PlantTags, FiftyThousandAreThere) {
    start({"--tags", "50000", "--page-size", "5000"});
    const test_support::BrowseAnswers tags = client->browse("ns=2;s=Tags");
    EXPECT_EQ(tags.references.size(), 50000U);
    EXPECT_EQ(tags.answers, 10U);
    EXPECT_EQ(client->value<UA_Double>(tag("00000")), 0);
    EXPECT_EQ(client->value<UA_Int32>(tag("00001")), 1);
    EXPECT_EQ(client->value<UA_Boolean>(tag("00002")), false);
    EXPECT_EQ(client->value<UA_Float>(tag("49999")), 49999.0F);
}

TEST_F(PlantTags, KeepWhatIsWritten) {
    start({"--tags", "4"});
    EXPECT_EQ(client->write(tag("00000"), UA_Double{0.125}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->write(tag("00001"), UA_Int32{-5}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->write(tag("00002"), UA_Boolean{true}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->write(tag("00003"), UA_Float{1.5F}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->value<UA_Double>(tag("00000")), 0.125);
    EXPECT_EQ(client->value<UA_Int32>(tag("00001")), -5);
    EXPECT_EQ(client->value<UA_Boolean>(tag("00002")), true);
    EXPECT_EQ(client->value<UA_Float>(tag("00003")), 1.5F);
    EXPECT_EQ(client->write(tag("00001"), UA_Double{1}), UA_STATUSCODE_BADTYPEMISMATCH);
    EXPECT_EQ(client->write(tag("00001"), UA_Variant{}), UA_STATUSCODE_BADTYPEMISMATCH);
}

TEST_F(PlantTags, SomeChangeByThemselvesAndAreCounted) {
    start({"--tags", "100", "--change-tags", "10", "--change-interval", "5"});
    const std::string changes = rack("Diagnostics.TagChanges");
    ASSERT_TRUE(waitUntil([&] { return client->value<UA_UInt64>(changes) >= 50; }));
    const auto values = client->readAll({tag("00000"), changes, tag("00012")});
    // Tag 0 starts at 0, so it shows how often all ten have changed.
    EXPECT_EQ(static_cast<UA_UInt64>(values[0].get<UA_Double>()) * 10, values[1].get<UA_UInt64>());
    EXPECT_EQ(values[2].get<UA_Double>(), 12);
}
