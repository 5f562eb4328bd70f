#include <csignal>
#include <fstream>
#include <map>
#include <string>

#include <gmock/gmock.h>

#include "plant_fixture.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class Compare : public Plant {
protected:
    /// A snapshot of the folder in that file.
    std::string taken(const std::string& folder, const std::string& name = "before.json") const {
        const std::string path = file(name);
        EXPECT_NE(cli("snapshot", {folder, "--output", path}).exitCode, 2);
        return path;
    }
    std::string file(const std::string& name) const { return (m_directory.path() / name).string(); }

    static json stored(const std::string& path) {
        std::ifstream stream(path);
        return json::parse(stream);
    }
    static void store(const std::string& path, const json& snapshot) {
        std::ofstream(path) << snapshot.dump(2);
    }

    /// The document, which has to come with that exit code.
    static json compared(int exitCode, const std::string& before, const std::string& after,
                         const Arguments& rest = {}) {
        Arguments all{"compare", before, after, "--json"};
        all.insert(all.end(), rest.begin(), rest.end());
        const CliResult result = run(all);
        EXPECT_EQ(result.exitCode, exitCode) << result.output << result.error;
        return result.json();
    }
    static std::map<std::string, json> byId(const json& document) {
        std::map<std::string, json> result;
        for (const json& node : document["nodes"])
            result.emplace(node["nodeId"], node);
        return result;
    }
    void write(const Arguments& pairs) const {
        const CliResult result = cli("write", pairs);
        EXPECT_EQ(result.exitCode, 0) << result.error;
    }

    test_support::TemporaryDirectory m_directory;
};

} // namespace

TEST_F(Compare, ASnapshotIsThePlantUntilSomethingChanges) {
    const std::string before = taken("/TestRack/Scalar");
    const CliResult same = run({"compare", before, m_server.url()});
    EXPECT_EQ(same.exitCode, 0) << same.error;
    EXPECT_EQ(same.output, "12 values are the same\n");
    write({rack + "Scalar.Int32", "5"});
    const CliResult table = run({"compare", before, m_server.url()});
    EXPECT_EQ(table.exitCode, 1);
    EXPECT_THAT(table.output,
                AllOf(HasSubstr("Old         New  Result\n"), HasSubstr("Int32  -123456789  5    changed\n"),
                      HasSubstr("11 values are the same, 1 changed\n")));
    const json document = compared(1, before, m_server.url());
    EXPECT_EQ(document["old"], before);
    EXPECT_EQ(document["new"], m_server.url());
    EXPECT_EQ(document["equal"], 11);
    EXPECT_EQ(document["changed"], 1);
    const json& node = document["nodes"][0];
    EXPECT_EQ(node["nodeId"], rack + "Scalar.Int32");
    EXPECT_EQ(node["result"], "changed");
    EXPECT_EQ(node["old"], json({{"type", "Int32"}, {"shape", json::array()}, {"value", -123456789}}));
    EXPECT_EQ(node["new"]["value"], 5);
}

TEST_F(Compare, TwoSnapshotsNeedNoServer) {
    const std::string before = taken("/TestRack/Scalar");
    write({rack + "Scalar.String", "Grüße"});
    const std::string after = taken("/TestRack/Scalar", "after.json");
    m_server.kill(SIGKILL);
    EXPECT_EQ(byId(compared(1, before, after)).at(rack + "Scalar.String")["new"]["value"], "Grüße");
    EXPECT_EQ(byId(compared(1, after, before)).at(rack + "Scalar.String")["old"]["value"], "Grüße");
    EXPECT_EQ(compared(0, after, after)["equal"], 12);
    EXPECT_EQ(run({"compare", before, m_server.url()}).exitCode, 3);
}

TEST_F(Compare, FloatsMayDifferByTheTolerance) {
    const std::string before = taken("/TestRack/Scalar");
    write({rack + "Scalar.Double", "-2.5", rack + "Scalar.Float", "3.5"});
    EXPECT_EQ(compared(1, before, m_server.url(), {"--tolerance", "0.1"})["changed"], 2);
    EXPECT_EQ(compared(0, before, m_server.url(), {"--tolerance", "0.25"})["equal"], 12);
    write({rack + "Scalar.Int32", "-123456788"});
    EXPECT_EQ(compared(1, before, m_server.url(), {"--tolerance", "9"})["changed"], 1) << "integers count";
    const std::string limits = taken("/TestRack/Limits", "limits.json");
    EXPECT_EQ(compared(0, limits, m_server.url(), {"--tolerance", "9"})["changed"], 0) << "NaN and infinity";
}

TEST_F(Compare, ShowsTheElementsThatDiffer) {
    const std::string before = taken("/TestRack/Matrix2");
    write({rack + "Matrix2.Double", "6.75", "--index", "1,2"});
    EXPECT_THAT(run({"compare", before, m_server.url()}).output,
                HasSubstr("Double[3][4]  [1][2]  6.5  6.75  changed\n"));
    EXPECT_EQ(run({"compare", before, m_server.url(), "--tolerance", "0.25"}).exitCode, 0);
}

TEST_F(Compare, TellsWhatIsMissingAndWhatIsAdded) {
    write({rack + "Control.CreateNode", "ns=3;s=Mine"});
    const std::string before = taken("/TestRack/Created");
    write({rack + "Control.DeleteNode", "ns=3;s=Mine", rack + "Control.CreateNode", "ns=3;s=Other"});
    const json document = compared(1, before, m_server.url());
    EXPECT_EQ(document["missing"], 1);
    EXPECT_EQ(document["added"], 1);
    EXPECT_EQ(byId(document).at("ns=3;s=Mine")["result"], "missing");
    EXPECT_TRUE(byId(document).at("ns=3;s=Mine")["new"].is_null());
    EXPECT_EQ(byId(document).at("ns=3;s=Other")["result"], "added");
    EXPECT_TRUE(byId(document).at("ns=3;s=Other")["old"].is_null());
    EXPECT_EQ(byId(compared(1, m_server.url(), before)).at("ns=3;s=Mine")["result"], "added")
        << "the server may be the older side";
    EXPECT_THAT(run({"compare", before, m_server.url()}).output,
                HasSubstr("0 values are the same, 1 missing, 1 added\n"));
}

TEST_F(Compare, TellsOtherTypesAndShapes) {
    write({rack + "Control.Shape", "Int32"});
    const std::string before = taken("/TestRack/Changing");
    for (const char* shape : {"Double", "Int32[3]", "Null"}) {
        write({rack + "Control.Shape", shape});
        const json document = compared(1, before, m_server.url());
        EXPECT_EQ(byId(document).at(rack + "Changing.Value")["result"], "typeChanged") << shape;
        EXPECT_EQ(document["missing"], 0) << shape;
        EXPECT_EQ(byId(compared(1, m_server.url(), before)).at(rack + "Changing.Value")["result"],
                  "typeChanged");
    }
    write({rack + "Control.Shape", "Double[3]"});
    EXPECT_THAT(run({"compare", before, m_server.url()}).output, HasSubstr("was Int32, is Double[3]\n"));
}

TEST_F(Compare, WhatIsNotReadableAnyMoreIsNotMissing) {
    const std::string before = taken("/TestRack/Access");
    EXPECT_EQ(compared(0, before, m_server.url())["notReadable"], 0) << "never was";
    json snapshot = stored(before);
    json node = snapshot["nodes"][0];
    node["nodeId"] = rack + "Access.WriteOnly";
    snapshot["nodes"].push_back(node);
    snapshot["leftOut"] = json::array();
    store(before, snapshot);
    const json document = compared(1, before, m_server.url());
    EXPECT_EQ(byId(document).at(rack + "Access.WriteOnly")["result"], "notReadable");
    EXPECT_FALSE(byId(document).at(rack + "Access.WriteOnly")["reason"].is_null());
    EXPECT_EQ(document["missing"], 0);
}

TEST_F(Compare, AnIncompleteSnapshotIsNeverTheSame) {
    const std::string before = taken("/TestRack/Scalar");
    const CliResult result = run({"compare", before, m_server.url(), "--max-nodes", "12"});
    EXPECT_EQ(result.exitCode, 0) << result.output << result.error;
    json snapshot = stored(before);
    snapshot["complete"] = false;
    store(before, snapshot);
    const CliResult incomplete = run({"compare", before, m_server.url()});
    EXPECT_EQ(incomplete.exitCode, 1);
    EXPECT_THAT(incomplete.error, HasSubstr("not everything was compared"));
}

TEST_F(Compare, WrongArgumentsAreExitCode2) {
    const std::string before = taken("/TestRack/Scalar");
    EXPECT_EQ(run({"compare", before}).exitCode, 2);
    EXPECT_EQ(run({"compare", before, file("nowhere.json")}).exitCode, 2);
    EXPECT_EQ(run({"compare", before, m_server.url(), "--tolerance", "-1"}).exitCode, 2);
    EXPECT_EQ(run({"compare", before, "http://plant:80"}).exitCode, 2);
    const CliResult servers = run({"compare", m_server.url(), m_server.url()});
    EXPECT_EQ(servers.exitCode, 2);
    EXPECT_THAT(servers.error, HasSubstr("is a file"));
    std::ofstream(file("list.json")) << "[]";
    EXPECT_THAT(run({"compare", file("list.json"), before}).error, HasSubstr("this is no snapshot"));
}
