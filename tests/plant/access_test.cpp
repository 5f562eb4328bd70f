#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "plant_fixture.h"
#include "support/temporary_directory.h"

using test_support::RawClient;
using test_support::ReadValue;

class PlantAccess : public PlantTest {
protected:
    UA_StatusCode readStatus(const std::string& name) { return client->read(rack(name)).status(); }
    UA_StatusCode writeStatus(const std::string& name) { return client->write(rack(name), UA_Int32{1}); }
};

TEST_F(PlantAccess, LevelsAreKept) {
    start();
    EXPECT_EQ(readStatus("Access.ReadOnly"), UA_STATUSCODE_GOOD);
    EXPECT_EQ(writeStatus("Access.ReadOnly"), UA_STATUSCODE_BADNOTWRITABLE);
    EXPECT_EQ(readStatus("Access.WriteOnly"), UA_STATUSCODE_BADNOTREADABLE);
    EXPECT_EQ(writeStatus("Access.WriteOnly"), UA_STATUSCODE_GOOD);
    EXPECT_EQ(readStatus("Access.None"), UA_STATUSCODE_BADNOTREADABLE);
    EXPECT_EQ(writeStatus("Access.None"), UA_STATUSCODE_BADNOTWRITABLE);
}

TEST_F(PlantAccess, DependsOnTheUser) {
    start({"--insecure-passwords"});
    EXPECT_EQ(readStatus("Access.LoggedInUsers"), UA_STATUSCODE_BADUSERACCESSDENIED);
    EXPECT_EQ(writeStatus("Access.LoggedInUsers"), UA_STATUSCODE_BADUSERACCESSDENIED);
    EXPECT_EQ(readStatus("Access.Denied"), UA_STATUSCODE_BADUSERACCESSDENIED);

    client.emplace();
    ASSERT_EQ(client->connect(server->url(), "operator", "plant"), UA_STATUSCODE_GOOD);
    EXPECT_EQ(readStatus("Access.LoggedInUsers"), UA_STATUSCODE_GOOD);
    EXPECT_EQ(writeStatus("Access.LoggedInUsers"), UA_STATUSCODE_GOOD);
    EXPECT_EQ(readStatus("Access.Denied"), UA_STATUSCODE_BADUSERACCESSDENIED);
    EXPECT_EQ(writeStatus("Access.Denied"), UA_STATUSCODE_BADUSERACCESSDENIED);
}

TEST_F(PlantAccess, WrongPasswordIsRefused) {
    start({"--insecure-passwords"});
    RawClient other;
    EXPECT_EQ(other.connect(server->url(), "operator", "wrong"), UA_STATUSCODE_BADUSERACCESSDENIED);
    RawClient unknown;
    EXPECT_EQ(unknown.connect(server->url(), "nobody", "plant"), UA_STATUSCODE_BADUSERACCESSDENIED);
}

TEST_F(PlantAccess, PasswordsDontCrossAnOpenNetworkUnasked) {
    start();
    RawClient other;
    EXPECT_NE(other.connect(server->url(), "operator", "plant"), UA_STATUSCODE_GOOD);
}

TEST_F(PlantAccess, UsersComeFromTheCommandLineOrAFile) {
    const test_support::TemporaryDirectory directory;
    const std::string file = directory.path() / "users";
    std::ofstream(file) << "# the day shift\nanna:with:colon\n\nbert:secret\n";
    start({"--insecure-passwords", "--users", file, "--users", "carl:sesame"});
    for (const auto& [user, password] :
         {std::pair("anna", "with:colon"), std::pair("bert", "secret"), std::pair("carl", "sesame")}) {
        RawClient other;
        EXPECT_EQ(other.connect(server->url(), user, password), UA_STATUSCODE_GOOD) << user;
    }
    RawClient standard;
    EXPECT_EQ(standard.connect(server->url(), "operator", "plant"), UA_STATUSCODE_BADUSERACCESSDENIED);
}

TEST_F(PlantAccess, AnonymousClientsCanBeRefused) {
    server.emplace(std::vector<std::string>{"--no-anonymous", "--insecure-passwords"});
    RawClient anonymous;
    EXPECT_NE(anonymous.connect(server->url()), UA_STATUSCODE_GOOD);
    RawClient user;
    EXPECT_EQ(user.connect(server->url(), "operator", "plant"), UA_STATUSCODE_GOOD);
}

TEST_F(PlantAccess, StatusesComeWithAndWithoutValue) {
    start();
    const auto expect = [&](const std::string& name, UA_StatusCode status, bool hasValue) {
        const ReadValue value = client->read(rack("Status." + name));
        EXPECT_EQ(value.status(), status) << name;
        EXPECT_EQ(!UA_Variant_isEmpty(&value.variant()), hasValue) << name;
    };
    expect("Bad", UA_STATUSCODE_BADSENSORFAILURE, true);
    expect("BadWithoutValue", UA_STATUSCODE_BADNOCOMMUNICATION, false);
    expect("Uncertain", UA_STATUSCODE_UNCERTAINLASTUSABLEVALUE, true);
    expect("UncertainWithoutValue", UA_STATUSCODE_UNCERTAINNOCOMMUNICATIONLASTUSABLEVALUE, false);
    expect("GoodLocalOverride", UA_STATUSCODE_GOODLOCALOVERRIDE, true);
}
