#include <set>
#include <string>

#include "plant_fixture.h"

using test_support::BrowseAnswers;
using test_support::Reference;

class PlantStructure : public PlantTest {};

TEST_F(PlantStructure, IsWhatAnEngineerLooksFor) {
    start();
    for (const char* node : {"Line1.Speed", "Line3.PartCount", "Boiler.Drum.Level", "Boiler.Burner.FanSpeed",
                             "Tanks.Tank4.Level", "Conveyors.Conveyor6.MotorCurrent"})
        EXPECT_EQ(client->read(std::string("ns=2;s=") + node).status(), UA_STATUSCODE_GOOD) << node;
    const BrowseAnswers plant = client->browse("ns=2;s=Plant");
    for (const char* area : {"Line1", "Line2", "Line3", "Boiler", "Tanks", "Conveyors"})
        EXPECT_NE(plant.find(area), nullptr) << area;
    EXPECT_NE(client->browse("i=85").find("Plant"), nullptr);
    EXPECT_NE(client->browse("i=85").find("TestRack"), nullptr);
    EXPECT_EQ(client->browse("i=85").find("Tags"), nullptr);
}

TEST_F(PlantStructure, HasEveryNodeClass) {
    start();
    const auto nodeClass = [&](const std::string& node) {
        return client->read(node, UA_ATTRIBUTEID_NODECLASS).get<UA_Int32>();
    };
    EXPECT_EQ(nodeClass("ns=2;s=Line1"), UA_NODECLASS_OBJECT);
    EXPECT_EQ(nodeClass("ns=2;s=Line1.Speed"), UA_NODECLASS_VARIABLE);
    EXPECT_EQ(nodeClass("ns=2;s=Line1.Start"), UA_NODECLASS_METHOD);
    EXPECT_EQ(nodeClass("i=58"), UA_NODECLASS_OBJECTTYPE);
    EXPECT_EQ(nodeClass("i=63"), UA_NODECLASS_VARIABLETYPE);
    EXPECT_EQ(nodeClass("i=35"), UA_NODECLASS_REFERENCETYPE);
    EXPECT_EQ(nodeClass("ns=2;i=3001"), UA_NODECLASS_DATATYPE);
    EXPECT_EQ(nodeClass("ns=2;s=OperatorView"), UA_NODECLASS_VIEW);
}

TEST_F(PlantStructure, HasEveryKindOfIdInThreeNamespaces) {
    start();
    const BrowseAnswers identifiers = client->browse(rack("Identifiers"));
    std::set<std::string> ids;
    for (const Reference& reference : identifiers.references) {
        ids.insert(reference.nodeId);
        EXPECT_EQ(client->read(reference.nodeId).text(), reference.nodeId);
    }
    EXPECT_EQ(ids.size(), 12U);
    for (const char* number : {"1", "2", "3"})
        for (const char* id :
             {"i=70001", "s=Identifiers.String", "g=72962b91-fa75-4ae6-8d28-b404dc7daf63", "b=AAEC/v8="})
            EXPECT_EQ(ids.count(std::string("ns=") + number + ";" + id), 1U) << id;
}

TEST_F(PlantStructure, GivesAllChildrenAtOnceWithoutPageSize) {
    start();
    const BrowseAnswers many = client->browse(rack("Many"));
    EXPECT_EQ(many.references.size(), 1200U);
    EXPECT_EQ(many.answers, 1U);
}

TEST_F(PlantStructure, GivesPagesOfTheSizeAskedFor) {
    start({"--page-size", "100"});
    const BrowseAnswers many = client->browse(rack("Many"));
    EXPECT_EQ(many.status, UA_STATUSCODE_GOOD);
    EXPECT_EQ(many.answers, 12U);
    std::set<std::string> ids;
    for (const Reference& reference : many.references)
        ids.insert(reference.nodeId);
    EXPECT_EQ(many.references.size(), 1200U);
    EXPECT_EQ(ids.size(), 1200U);
}

TEST_F(PlantStructure, GoesThirtyLevelsDown) {
    start();
    std::string node = rack("Deep");
    for (int level = 1; level <= 30; ++level) {
        const BrowseAnswers children = client->browse(node);
        ASSERT_EQ(children.references.size(), 1U) << level;
        node = children.references[0].nodeId;
    }
    EXPECT_NE(client->browse(node).find("Bottom"), nullptr);
}

TEST_F(PlantStructure, HasALoopAndAFolderWithoutChildren) {
    start();
    EXPECT_NE(client->browse(rack("Loop.First.Second")).find("First"), nullptr);
    const BrowseAnswers none = client->browse(rack("Loop.Childless"));
    EXPECT_EQ(none.status, UA_STATUSCODE_GOOD);
    EXPECT_TRUE(none.references.empty());
}

TEST_F(PlantStructure, UnknownNodesAreUnknown) {
    start();
    EXPECT_EQ(client->read("ns=2;s=Line99").status(), UA_STATUSCODE_BADNODEIDUNKNOWN);
    EXPECT_EQ(client->browse("ns=2;s=Line99").status, UA_STATUSCODE_BADNODEIDUNKNOWN);
}
