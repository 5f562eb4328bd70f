#include <algorithm>
#include <chrono>
#include <cstddef>
#include <fstream>
#include <map>
#include <string>
#include <utility>

#include <gmock/gmock.h>

#include "plant_fixture.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class Snapshots : public Plant {
protected:
    json taken(const std::string& folder, int exitCode = 0) const {
        const CliResult result = cli("snapshot", {folder, "--output", m_file});
        EXPECT_EQ(result.exitCode, exitCode) << result.error;
        return stored();
    }
    json stored() const {
        std::ifstream stream(m_file);
        return json::parse(stream);
    }
    void store(const json& snapshot) const { std::ofstream(m_file) << snapshot.dump(2); }
    CliResult restore(Arguments rest = {}) const {
        rest.insert(rest.begin(), m_file);
        return cli("restore", rest);
    }
    static std::map<std::string, json> byId(const json& nodes) {
        std::map<std::string, json> result;
        for (const json& node : nodes)
            result.emplace(node["nodeId"], node);
        return result;
    }

    test_support::TemporaryDirectory m_directory;
    std::string m_file = (m_directory.path() / "snapshot.json").string();
};

const std::string recipe = "ns=2;s=Line1.Recipe";
const std::string batch = "ns=2;s=Line1.Batch";

} // namespace

TEST_F(Snapshots, HoldTypesShapesAndValues) {
    const json snapshot = taken("/Plant/Line1");
    EXPECT_EQ(snapshot["format"], "opcua-cli snapshot 1");
    EXPECT_EQ(snapshot["url"], m_server.url());
    EXPECT_EQ(snapshot["folder"], "/Plant/Line1");
    EXPECT_EQ(snapshot["folderId"], "ns=2;s=Line1");
    EXPECT_EQ(snapshot["complete"], true);
    const auto nodes = byId(snapshot["nodes"]);
    EXPECT_EQ(nodes.at(batch)["type"], "String");
    EXPECT_EQ(nodes.at(batch)["shape"], json::array());
    EXPECT_EQ(nodes.at(batch)["value"], "B-2041");
    EXPECT_EQ(nodes.at(recipe)["shape"], json({5}));
    EXPECT_EQ(nodes.at(recipe)["value"], value(recipe));
    EXPECT_EQ(nodes.at("ns=2;s=Line1.ZoneTemperatures")["value"].size(), 8u);
}

TEST_F(Snapshots, HoldTheTwelveTypesInEveryShape) {
    for (const char* folder : {"Scalar", "Array", "EmptyArray", "Matrix2", "Matrix3", "Matrix16"}) {
        EXPECT_EQ(taken(std::string("/TestRack/") + folder)["nodes"].size(), 12u) << folder;
        const CliResult result = restore({"--json"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_EQ(result.json()["unchanged"], 12) << folder;
    }
}

TEST_F(Snapshots, GoToStandardOutputWithoutAFile) {
    const CliResult result = cli("snapshot", {"ns=2;s=Line1"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.json()["folderId"], "ns=2;s=Line1");
    EXPECT_EQ(result.json()["nodes"].size(), taken("/Plant/Line1")["nodes"].size());
}

TEST_F(Snapshots, SayWhatTheyLeftOut) {
    const auto leftOut = byId(taken("/TestRack/Special")["leftOut"]);
    EXPECT_EQ(leftOut.at(rack + "Special.DateTime")["failed"], false);
    EXPECT_THAT(leftOut.at(rack + "Special.Empty")["reason"].get<std::string>(), HasSubstr("empty"));
    const CliResult result = cli("snapshot", {"/TestRack/Access", "--output", m_file, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    const auto unread = byId(result.json()["leftOut"]);
    EXPECT_EQ(unread.at(rack + "Access.WriteOnly")["failed"], true);
    EXPECT_EQ(byId(stored()["nodes"]).at(rack + "Access.ReadOnly")["value"], 42);
    EXPECT_THAT(result.error, HasSubstr("not in the snapshot"));
}

TEST_F(Snapshots, LeaveOutTextsThatCannotBeWrittenBack) {
    const auto leftOut = byId(taken("/TestRack/Text", 1)["leftOut"]);
    ASSERT_EQ(leftOut.size(), 1u);
    EXPECT_THAT(leftOut.at(rack + "Text.EmbeddedZero")["reason"].get<std::string>(), HasSubstr("zero byte"));
    cli("write", {rack + "Text.NonAscii", ""});
    EXPECT_EQ(restore().exitCode, 0);
    EXPECT_EQ(value(rack + "Text.NonAscii"), "Füllstand 锅炉 °C €");
}

TEST_F(Snapshots, OfLargeFoldersAndLongArraysAreBounded) {
    EXPECT_EQ(taken("/TestRack/Many")["nodes"].size(), 1200u);
    const CliResult many = cli("snapshot", {"/TestRack/Many", "--max-nodes", "10"});
    EXPECT_EQ(many.exitCode, 1);
    EXPECT_EQ(many.json()["complete"], false);
    const CliResult restored = restore({"--dry-run", "--max-nodes", "10"});
    EXPECT_EQ(restored.exitCode, 1);
    EXPECT_THAT(restored.error, AllOf(HasSubstr("not all of the folder"), HasSubstr("--max-nodes"),
                                      Not(HasSubstr("any more"))));
    const CliResult longOnes = cli("snapshot", {"/TestRack/Array", "--max-elements", "9"});
    EXPECT_EQ(longOnes.exitCode, 1);
    EXPECT_EQ(longOnes.json()["leftOut"].size(), 12u);
}

TEST_F(Snapshots, EndInACircle) {
    EXPECT_EQ(taken("/TestRack/Loop")["nodes"].size(), 0u);
}

TEST_F(Snapshots, AreRestored) {
    const json zones = value("ns=2;s=Line1.ZoneTemperatures");
    taken("ns=2;s=Line1");
    EXPECT_EQ(cli("write", {batch, "Grüße, \"Welt\"", "ns=2;s=Line1.SpeedSetpoint", "0.5"}).exitCode, 0);
    EXPECT_EQ(cli("write", {"ns=2;s=Line1.ZoneTemperatures", "-1", "--index", "6"}).exitCode, 0);
    EXPECT_EQ(cli("write", {"ns=2;s=Line1.Running", "off"}).exitCode, 0);
    const json torque = byId(stored()["nodes"]).at("ns=2;s=Line1.MotorTorque")["value"];
    // The plant moves by itself, in a tick's time.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (value("ns=2;s=Line1.MotorTorque") == torque)
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
    const CliResult result = restore({"--json"});
    EXPECT_EQ(result.exitCode, 1) << "what moved meanwhile is read-only";
    EXPECT_GE(result.json()["written"], 4);
    EXPECT_EQ(value(batch), "B-2041");
    EXPECT_EQ(value("ns=2;s=Line1.ZoneTemperatures"), zones);
    EXPECT_EQ(value("ns=2;s=Line1.Running"), true);
}

TEST_F(Snapshots, ADryRunShowsOldAndNewAndWritesNothing) {
    taken("/TestRack/Scalar");
    cli("write", {rack + "Scalar.Int32", "5"});
    const CliResult table = restore({"--dry-run"});
    EXPECT_EQ(table.exitCode, 0) << table.error;
    EXPECT_THAT(table.output, AllOf(HasSubstr("Old  New         Result\n"),
                                    HasSubstr("Int32  5    -123456789  would be written\n"),
                                    HasSubstr("12 values: 11 unchanged, 1 would be written\n")));
    const json document = restore({"--dry-run", "--json"}).json();
    EXPECT_EQ(document["dryRun"], true);
    EXPECT_EQ(document["differing"], 1);
    const json node = byId(document["nodes"]).at(rack + "Scalar.Int32");
    EXPECT_EQ(node["old"], 5);
    EXPECT_EQ(node["new"], -123456789);
    EXPECT_EQ(node["result"], "wouldBeWritten");
    EXPECT_EQ(value(rack + "Scalar.Int32"), 5);
    EXPECT_THAT(restore().output, HasSubstr("12 values: 11 unchanged, 1 written\n"));
    EXPECT_EQ(value(rack + "Scalar.Int32"), -123456789);
}

TEST_F(Snapshots, ShowTheElementsThatDiffer) {
    taken("/TestRack/Matrix2");
    cli("write", {rack + "Matrix2.Int32", "77", "--index", "1,2"});
    EXPECT_THAT(restore({"--dry-run"}).output,
                HasSubstr("Int32[3][4]  [1][2]  77   6    would be written\n"));
    EXPECT_EQ(restore().exitCode, 0);
    EXPECT_EQ(value(rack + "Matrix2.Int32"), json({{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}}));
}

TEST_F(Snapshots, LeaveChangedTypesAndShapesAlone) {
    cli("write", {rack + "Control.Shape", "Int32"});
    taken("/TestRack/Changing", 0);
    for (const auto& [shape, message] : {std::pair("Double", "was Int32 and is Double now"),
                                         std::pair("Int32[3]", "was Int32 and is Int32[3] now"),
                                         std::pair("Null", "was Int32 and is other now")}) {
        cli("write", {rack + "Control.Shape", shape});
        const CliResult result = restore({"--json"});
        EXPECT_EQ(result.exitCode, 1) << shape;
        EXPECT_EQ(byId(result.json()["nodes"]).at(rack + "Changing.Value")["result"], "failed");
        EXPECT_THAT(result.error, HasSubstr(message));
    }
}

TEST_F(Snapshots, RefusedWritesAndLostNodesAreReported) {
    cli("write", {rack + "Control.CreateNode", "ns=3;s=Mine"});
    json snapshot = taken("/TestRack", 1);
    json chosen = json::array();
    for (json node : snapshot["nodes"]) {
        // As if the node had become read-only since.
        if (node["nodeId"] == rack + "Access.ReadOnly")
            node["value"] = 43;
        if (node["nodeId"] == rack + "Access.ReadOnly" || node["nodeId"] == "ns=3;s=Mine" ||
            node["nodeId"] == rack + "Scalar.Byte")
            chosen.push_back(node);
    }
    ASSERT_EQ(chosen.size(), 3u);
    snapshot["nodes"] = chosen;
    store(snapshot);
    cli("write", {rack + "Control.DeleteNode", "ns=3;s=Mine", rack + "Scalar.Byte", "1"});
    const CliResult result = restore({"--json"});
    EXPECT_EQ(result.exitCode, 1);
    const auto nodes = byId(result.json()["nodes"]);
    EXPECT_EQ(nodes.at(rack + "Access.ReadOnly")["error"]["code"], 8);
    EXPECT_EQ(nodes.at(rack + "Access.ReadOnly")["old"], 42);
    EXPECT_THAT(nodes.at("ns=3;s=Mine")["error"]["explanation"].get<std::string>(), HasSubstr("any more"));
    EXPECT_EQ(nodes.at(rack + "Scalar.Byte")["result"], "written");
    EXPECT_EQ(value(rack + "Scalar.Byte"), 200);
}

TEST_F(Snapshots, WrongFilesAreExitCode2) {
    const json good = taken("/TestRack/Scalar");
    const auto isRefused = [&](const json& snapshot, const std::string& message) {
        store(snapshot);
        const CliResult result = restore();
        EXPECT_EQ(result.exitCode, 2) << message;
        EXPECT_THAT(result.error, AllOf(HasSubstr(m_file), HasSubstr(message)));
        EXPECT_EQ(result.output, "");
    };
    const auto changed = [&](const char* key, const json& content) {
        json snapshot = good;
        snapshot["nodes"][1][key] = content;
        return snapshot;
    };
    isRefused({{"nodes", json::array()}}, "this is no snapshot");
    isRefused(json::array(), "this is no snapshot");
    isRefused({{"format", "opcua-cli snapshot 2"}, {"nodes", json::array()}}, "this is no snapshot");
    isRefused(changed("nodeId", "/Plant"), "\"nodeId\" is no node id");
    isRefused(changed("type", "Decimal"), "no type is called Decimal");
    isRefused(changed("type", 5), "\"type\" is no text");
    isRefused(changed("shape", {-1}), "no length");
    isRefused(changed("shape", {2}), "where an array should be");
    isRefused(changed("value", 1000), "out of range");
    isRefused(changed("value", nullptr), "no \"value\"");
    const std::string text = changed("value", "x").dump(2);
    const std::size_t begin = text.rfind('{', text.find(good["nodes"][1]["nodeId"].dump()));
    const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(begin), '\n');
    isRefused(changed("value", "x"), "line " + std::to_string(line) + ": ");
}

TEST_F(Snapshots, WhatCannotBeStoredIsExitCode4) {
    const CliResult missing = cli("snapshot", {"/TestRack/Scalar", "--output", "/nowhere/snapshot.json"});
    EXPECT_EQ(missing.exitCode, 4);
    EXPECT_THAT(missing.error, HasSubstr("/nowhere/snapshot.json"));
    EXPECT_EQ(cli("snapshot", {"/TestRack/Scalar", "--output", "/dev/full"}).exitCode, 4);
    EXPECT_EQ(cli("snapshot", {"/TestRack/Nowhere"}).exitCode, 1);
}
