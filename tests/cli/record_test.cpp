#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lines.h"
#include "plant_fixture.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"

using namespace cli_test;
using test_support::ChildProcess;
using test_support::ServerProcess;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr std::chrono::seconds limit{60};
/// To end after a signal.
constexpr std::chrono::seconds longerThanAServerHas{3};

const std::string counter = rack + "Moving.Counter";

class Record : public Plant {
protected:
    using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

    void start(const Arguments& nodes) {
        Arguments rest{m_file};
        rest.insert(rest.end(), nodes.begin(), nodes.end());
        m_program.emplace(program(), call("record", rest));
    }
    CliResult recordFor(const std::string& seconds, const Arguments& nodes) const {
        Arguments rest{m_file, "--duration", seconds};
        rest.insert(rest.end(), nodes.begin(), nodes.end());
        return cli("record", rest);
    }
    int endBy(int signal) {
        m_program->signal(signal);
        const auto end = m_program->wait(limit);
        if (!end || !end->exitCode)
            throw std::runtime_error(m_program->describe("did not end as it should"));
        return *end->exitCode;
    }

    CliResult exported(Arguments options = {}) const {
        options.insert(options.begin(), {"export", m_file});
        return run(options);
    }
    /// What the query gives, a text a row, with a bar between two columns.
    std::vector<std::string> query(const std::string& sql) const {
        const Database database = open();
        std::vector<std::string> rows;
        const auto take = [](void* taken, int count, char** texts, char**) {
            std::string row;
            for (int i = 0; i < count; ++i)
                row += std::string(i == 0 ? "" : "|") + (texts[i] != nullptr ? texts[i] : "NULL");
            static_cast<std::vector<std::string>*>(taken)->push_back(row);
            return 0;
        };
        if (sqlite3_exec(database.get(), sql.c_str(), take, &rows, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(database.get()));
        return rows;
    }
    std::vector<std::string> events() const {
        return query("SELECT event FROM record WHERE event != 'value'");
    }
    std::size_t count(const std::string& condition) const {
        return std::stoul(query("SELECT count(*) FROM record WHERE " + condition).front());
    }
    /// Of another program, until the database is closed.
    Database lock() const {
        Database database = open();
        if (sqlite3_exec(database.get(), "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(database.get()));
        return database;
    }
    void awaitClosedSession() const {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (sessions() > 1)
            if (std::chrono::steady_clock::now() > deadline)
                throw std::runtime_error("the session stays");
    }
    /// Waits until there are more such rows.
    std::size_t rows(const std::string& condition) const {
        return std::filesystem::exists(m_file) && hasTables() ? count(condition) : 0;
    }
    void awaitMore(const std::string& condition) const { awaitRows(condition, rows(condition) + 1); }
    void awaitRows(const std::string& condition, std::size_t wanted) const {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (rows(condition) < wanted) {
            if (std::chrono::steady_clock::now() > deadline)
                throw std::runtime_error("no more rows with " + condition);
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }

    test_support::TemporaryDirectory m_directory;
    const std::string m_file = (m_directory.path() / "week.sqlite").string();
    std::optional<ChildProcess> m_program;

private:
    Database open() const {
        sqlite3* opened = nullptr;
        const int code = sqlite3_open_v2(m_file.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
        Database database(opened, sqlite3_close);
        if (code != SQLITE_OK || sqlite3_busy_timeout(opened, 10000) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(opened));
        return database;
    }
    bool hasTables() const { return query("SELECT 1 FROM sqlite_master WHERE name = 'record'").size() == 1; }
};

} // namespace

TEST_F(Record, KeepsTheTypesOfValues) {
    const CliResult result = recordFor("1", {"/TestRack/Scalar", rack + "Special.LocalizedText"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr("changes recorded in " + m_file));
    const auto row = [&](const std::string& name) {
        return query("SELECT type, typeof(value), value, text FROM record WHERE name = '" + name + "'");
    };
    EXPECT_THAT(row("Boolean"), ElementsAre("Boolean|integer|1|true"));
    EXPECT_THAT(row("SByte"), ElementsAre("SByte|integer|-12|-12"));
    EXPECT_THAT(row("Int64"), ElementsAre("Int64|integer|-9000000000000000000|-9000000000000000000"));
    EXPECT_THAT(row("UInt64"), ElementsAre("UInt64|text|18000000000000000000|18000000000000000000"));
    EXPECT_THAT(row("Float"), ElementsAre("Float|real|3.25|3.25"));
    EXPECT_THAT(row("String"), ElementsAre("String|text|Hello|Hello"));
    EXPECT_EQ(count("typeof(value) = 'real' AND name = 'Double' AND value = -2.718281828459045"), 1u);
    EXPECT_EQ(count("event = 'value' AND node = '" + rack + "Special.LocalizedText' AND text != ''"), 1u);
    EXPECT_EQ(count("url != '" + m_server.url() + "'"), 0u);
    EXPECT_EQ(count("time NOT GLOB '20[0-9][0-9]-[01][0-9]-[0-3][0-9]T[0-2][0-9]:*Z'"), 0u);
    EXPECT_EQ(count("abs(julianday('now') - julianday(time)) > 0.01"), 0u) << "UTC";
    EXPECT_THAT(events(), ElementsAre("started", "ended"));
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Record, PassesNoChangeOver) {
    ASSERT_EQ(recordFor("3", {counter}).exitCode, 0);
    const auto range =
        query("SELECT max(value) - min(value) + 1, count(*) FROM record WHERE event = 'value'");
    const std::size_t bar = range.front().find('|');
    EXPECT_EQ(range.front().substr(0, bar), range.front().substr(bar + 1));
}

TEST_F(Record, ShowsTheGapThatARestartOfTheServerLeaves) {
    start({counter, "/Plant/Line1"});
    awaitMore("node = '" + counter + "'");
    const std::string port = std::to_string(m_server.port());
    m_server.kill(SIGKILL);
    awaitMore("event = 'lost'");
    const ServerProcess again(test_support::PlantServer::program(), {"--port", port, "--die-with-parent"});
    awaitMore("event = 'connected'");
    awaitMore("node = '" + counter + "'");
    awaitMore("node = 'ns=2;s=Line1.MotorTorque'");
    EXPECT_EQ(endBy(SIGINT), 130);
    EXPECT_THAT(events(), ElementsAre("started", "lost", "connected", "ended"));
    EXPECT_THAT(query("SELECT text FROM record WHERE event = 'connected'"),
                ElementsAre(StartsWith("connected again after")));
    EXPECT_THAT(linesOf(exported({"--node", counter}).output),
                AllOf(Contains(HasSubstr(",lost,")), Contains(HasSubstr(",connected,")),
                      Not(Contains(HasSubstr("MotorTorque")))));
}

TEST_F(Record, WhatWasCommittedSurvivesAKill) {
    start({counter});
    awaitMore("event = 'value'");
    awaitMore("event = 'value'");
    const std::size_t seen = count("event = 'value'");
    m_program->signal(SIGKILL);
    m_program->wait(limit);
    const CliResult result = exported();
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_GE(linesOf(result.output).size(), seen + 2) << "with heading and start";
    EXPECT_THAT(query("PRAGMA integrity_check"), ElementsAre("ok"));

    const CliResult next = recordFor("1", {counter});
    EXPECT_EQ(next.exitCode, 0) << next.error;
    EXPECT_THAT(events(), ElementsAre("started", "started", "ended")) << "no end in between: a gap";
    EXPECT_EQ(query("SELECT DISTINCT node FROM record WHERE event = 'value'").size(), 1u);
}

TEST_F(Record, CtrlCKeepsTheRowsThatAnotherProgramHoldsUp) {
    start({counter});
    awaitMore("event = 'value'");
    auto locked = lock();
    m_program->signal(SIGINT);
    awaitClosedSession();
    EXPECT_FALSE(m_program->wait(longerThanAServerHas)) << m_program->standardError();
    locked.reset();
    const auto end = m_program->wait(limit);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->exitCode, 130);
    EXPECT_THAT(events(), ElementsAre("started", "ended"));
    EXPECT_THAT(m_program->standardError(), Not(HasSubstr("not answered")));
}

TEST_F(Record, ShowsAnOutageThatTheConnectionSurvives) {
    start({counter});
    awaitMore("event = 'value'");
    m_server.freeze();
    awaitMore("event = 'outage'");
    m_server.resume();
    awaitRows("event = 'outageOver'", 1);
    EXPECT_EQ(endBy(SIGINT), 130);
    EXPECT_THAT(events(), ElementsAre("started", "outage", "outageOver", "ended"));
}

TEST_F(Record, NotesWhatIsLeftOutAndRefused) {
    const CliResult result =
        recordFor("1", {"ns=2;s=Nowhere", counter, "/Plant/Nowhere", "--max-nodes", "50"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, AllOf(HasSubstr("ns=2;s=Nowhere: "), HasSubstr("no \"Nowhere\" below Plant")));
    EXPECT_THAT(events(), ElementsAre("started", "leftOut", "refused", "ended"));
    EXPECT_EQ(count("event = 'refused' AND node = 'ns=2;s=Nowhere'"), 1u);
}

TEST_F(Record, TellsItsFileAsADocument) {
    const auto json = cliJson("record", {m_file, "/TestRack/Array/Int32", "--index", "3", "--duration", "1"});
    EXPECT_EQ(json["file"], m_file);
    EXPECT_EQ(json["changes"], 1);
    EXPECT_EQ(count("node = '" + rack + "Array.Int32[3]' AND typeof(value) = 'integer'"), 1u);
}

TEST_F(Record, RefusesWhatIsNoRecording) {
    std::ofstream(m_file) << "plain text, and long enough to be taken for something that it is not: "
                          << std::string(1000, '-');
    EXPECT_EQ(recordFor("1", {counter}).exitCode, 2);
    EXPECT_EQ(exported().exitCode, 2);
    std::filesystem::remove(m_file);
    EXPECT_EQ(exported().exitCode, 2);
    EXPECT_FALSE(std::filesystem::exists(m_file));

    std::ofstream(m_file).close();
    query("PRAGMA journal_mode = WAL; CREATE TABLE changes (mine)");
    const CliResult other = recordFor("1", {counter});
    EXPECT_EQ(other.exitCode, 2);
    EXPECT_THAT(other.error, HasSubstr("is no recording of this program"));
    EXPECT_THAT(query("SELECT count(*) FROM sqlite_master"), ElementsAre("1"));
    EXPECT_THAT(query("PRAGMA journal_mode"), ElementsAre("wal"));
    EXPECT_EQ(cli("record", {"", counter}).exitCode, 2);
    EXPECT_EQ(cli("record", {(m_directory.path() / "none/week.sqlite").string(), counter}).exitCode, 4);
}

TEST_F(Record, ExportsAPart) {
    ASSERT_EQ(recordFor("1", {rack + "Scalar.Int32", rack + "Scalar.Double"}).exitCode, 0);
    query("UPDATE changes SET time = '2024-05-0' || id || 'T08:00:00.000Z'");
    query("UPDATE changes SET text = 'a \"b\",' || char(10) || 'c' WHERE id = 3");
    const auto times = [&](const Arguments& options) {
        const CliResult result = exported(options);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        std::set<char> days;
        for (const std::string& line : linesOf(result.output))
            if (line.compare(0, 9, "2024-05-0") == 0)
                days.insert(line[9]);
        return std::string(days.begin(), days.end());
    };
    EXPECT_EQ(times({}), "1234");
    EXPECT_EQ(times({"--from", "2024-05-02"}), "234");
    EXPECT_EQ(times({"--from", "2024-05-02T08:00:00Z", "--to", "2024-05-03 08:00"}), "2");
    EXPECT_EQ(times({"--from", "2024-05-02T08:00:00.001Z"}), "34");
    EXPECT_EQ(times({"--node", rack + "Scalar.Int32"}).size(), 3u);
    EXPECT_EQ(times({"--node", "ns=2;s=Nowhere"}), "14");
    EXPECT_THAT(exported().output,
                AllOf(StartsWith("time,event,url,node,name,type,value\n2024-05-01T08:00:00.000Z,started,"),
                      HasSubstr(",\"a \"\"b\"\",\nc\"\n")));

    const std::string csv = (m_directory.path() / "part.csv").string();
    const CliResult toFile = exported({"--output", csv});
    EXPECT_EQ(toFile.output, "");
    EXPECT_EQ(test_support::contentOf(csv), exported().output);
    EXPECT_EQ(exported({"--output", m_file}).exitCode, 2) << "the recording itself";
    EXPECT_EQ(exported({"--output", "/dev/full"}).exitCode, 4);
    EXPECT_EQ(exported({"--from", "yesterday"}).exitCode, 2);
    EXPECT_EQ(exported({"--to", "2024-13-01"}).exitCode, 2);
}

TEST_F(Record, AnExportThatFailsLeavesTheOldFile) {
    ASSERT_EQ(recordFor("1", {rack + "Scalar.Int32"}).exitCode, 0);
    const std::string csv = (m_directory.path() / "part.csv").string();
    std::ofstream(csv) << "an earlier one";
    query("ALTER TABLE changes RENAME COLUMN text TO words");
    EXPECT_NE(exported({"--output", csv}).exitCode, 0);
    EXPECT_EQ(test_support::contentOf(csv), "an earlier one");
    query("ALTER TABLE changes RENAME COLUMN words TO text");
    EXPECT_EQ(exported({"--output", csv}).exitCode, 0);
    EXPECT_EQ(test_support::contentOf(csv), exported().output);
    for (const auto& file : std::filesystem::directory_iterator(m_directory.path()))
        EXPECT_NE(file.path().extension(), ".part");
}

TEST_F(Record, NotesWhatAFolderHoldsAndIsNotFollowed) {
    const CliResult result = recordFor("1", {"/TestRack/Names"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("/TestRack/Names: NodeId256: the id of this node is too long"));
    EXPECT_EQ(count("event = 'leftOut' AND text LIKE '%NodeId256%'"), 1u);
}
