#include <cstddef>
#include <string>

#include "plant_fixture.h"

using test_support::BrowseAnswers;
using test_support::Reference;

class PlantText : public PlantTest {
protected:
    void SetUp() override { start(); }
};

TEST_F(PlantText, HasTheSizesThatFixedFieldsFearMost) {
    EXPECT_EQ(client->read(rack("Text.Empty")).text(), "");
    EXPECT_EQ(client->read(rack("Text.Bytes255")).text().size(), 255U);
    EXPECT_EQ(client->read(rack("Text.Bytes256")).text().size(), 256U);
    EXPECT_EQ(client->read(rack("Text.Bytes300")).text().substr(0, 20), "0123456789abcdef0123");
    EXPECT_EQ(client->read(rack("Text.Bytes300")).text().size(), 300U);
    EXPECT_EQ(client->read(rack("Text.Chinese300")).text().size(), 300U);
}

TEST_F(PlantText, TellsNullFromEmpty) {
    EXPECT_EQ(client->read(rack("Text.Null")).get<UA_String>().data, nullptr);
    EXPECT_NE(client->read(rack("Text.Empty")).get<UA_String>().data, nullptr);
}

TEST_F(PlantText, KeepsBytesThatAreNoAscii) {
    EXPECT_EQ(client->read(rack("Text.NonAscii")).text(), "Füllstand 锅炉 °C €");
    EXPECT_EQ(client->read(rack("Text.EmbeddedZero")).text(), std::string("before\0after", 12));
}

TEST_F(PlantText, NamesAndIdsAreNoAscii) {
    const BrowseAnswers names = client->browse(rack("Names"));
    for (const char* name : {"Füllstand", "Kesseldruck ÄÖÜß", "锅炉压力", "with = ; \" quotes and blanks"}) {
        const Reference* reference = names.find(name);
        ASSERT_NE(reference, nullptr) << name;
        EXPECT_EQ(reference->displayName, name);
        EXPECT_EQ(reference->nodeId, rack("Names.") + name);
        EXPECT_EQ(client->read(reference->nodeId).status(), UA_STATUSCODE_GOOD) << name;
    }
}

TEST_F(PlantText, NamesAndIdsAreLong) {
    const BrowseAnswers names = client->browse(rack("Names"));
    for (const std::size_t bytes : {255U, 256U, 300U}) {
        const std::string digits = std::to_string(bytes);
        ASSERT_NE(names.find("DisplayName" + digits), nullptr);
        EXPECT_EQ(names.find("DisplayName" + digits)->displayName.size(), bytes);
        ASSERT_NE(names.find("NodeId" + digits), nullptr);
        EXPECT_EQ(names.find("NodeId" + digits)->nodeId.size(), bytes);
        EXPECT_EQ(client->read(names.find("NodeId" + digits)->nodeId).status(), UA_STATUSCODE_GOOD);
        const auto* browseName = static_cast<const UA_QualifiedName*>(
            client->read(rack("Names.BrowseName" + digits), UA_ATTRIBUTEID_BROWSENAME).variant().data);
        ASSERT_NE(browseName, nullptr);
    }
}

TEST_F(PlantText, DisplayNamesHaveALocale) {
    const BrowseAnswers names = client->browse(rack("Names"));
    EXPECT_EQ(names.find("Füllstand")->locale, "en");
    EXPECT_EQ(names.find("GermanLocale")->locale, "de-DE");
    EXPECT_EQ(names.find("GermanLocale")->displayName, "Drehzahl");
    EXPECT_EQ(names.find("NoLocale")->locale, "");
}
