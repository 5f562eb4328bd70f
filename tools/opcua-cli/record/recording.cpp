#include "record/recording.h"

#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <sqlite3.h>
#include <string>
#include <type_traits>
#include <variant>

#include "failure.h"
#include "interrupt.h"
#include "text/time_text.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr int applicationId = 0x4F504355; // "OPCU"
constexpr int formatVersion = 1;
constexpr std::chrono::milliseconds lockWait{10000};
constexpr int longestText = 64 << 20;
constexpr std::chrono::seconds longestWait{1};
// What waits to be committed.
constexpr std::size_t mostRows = 1000;
constexpr std::size_t mostText = 16 << 20;
/// While another program keeps the file locked.
constexpr std::size_t mostKeptRows = 100000;
constexpr std::size_t mostKeptText = 64 << 20;

constexpr const char* tables = R"(
CREATE TABLE nodes (id INTEGER PRIMARY KEY, url TEXT NOT NULL, node TEXT NOT NULL, name TEXT NOT NULL,
  UNIQUE (url, node));
CREATE TABLE changes (id INTEGER PRIMARY KEY, time TEXT NOT NULL, event TEXT NOT NULL,
  node INTEGER NOT NULL REFERENCES nodes, type TEXT, value, text TEXT);
CREATE VIEW record AS SELECT time, event, url, nodes.node AS node, name, type, value, text
  FROM changes JOIN nodes ON nodes.id = changes.node ORDER BY changes.id;
PRAGMA application_id = 1330660181;
PRAGMA user_version = 1;
)";

/// The base tables, because a view of a file from elsewhere could be anything.
constexpr const char* selectRows = R"(
SELECT time, event, url, nodes.node, name, ifnull(type, ''), ifnull(text, '')
  FROM changes JOIN nodes ON nodes.id = changes.node
  WHERE (?1 = '' OR nodes.node = ?1 OR nodes.node = '') AND (?2 = '' OR time >= ?2) AND (?3 = '' OR time < ?3)
  ORDER BY changes.id)";

[[noreturn]] void fail(sqlite3* database, const std::string& what = "the recording") {
    const std::string reason = database != nullptr ? sqlite3_errmsg(database) : "no memory";
    if (sqlite3_db_readonly(database, "main") == 1)
        throw usageFailure("cannot read " + what + ": " + reason);
    throw Failure(ExitCode::OutputFailed, {"cannot write " + what + ": " + reason, {}});
}

/// For the lock of another program.
class ShortWait {
public:
    explicit ShortWait(sqlite3* database) : m_database(database) { sqlite3_busy_timeout(database, 200); }
    ~ShortWait() { sqlite3_busy_timeout(m_database, static_cast<int>(lockWait.count())); }
    ShortWait(const ShortWait&) = delete;
    ShortWait& operator=(const ShortWait&) = delete;

private:
    sqlite3* m_database;
};

struct Binder {
    sqlite3_stmt* statement;
    int place;

    int operator()(std::monostate) const { return sqlite3_bind_null(statement, place); }
    int operator()(const std::string& text) const {
        const auto size = static_cast<sqlite3_uint64>(text.size());
        return isValidUtf8(text)
                   ? sqlite3_bind_text64(statement, place, text.data(), size, SQLITE_TRANSIENT, SQLITE_UTF8)
                   : sqlite3_bind_blob64(statement, place, text.data(), size, SQLITE_TRANSIENT);
    }
    template <typename Number>
    int operator()(Number number) const {
        if constexpr (std::is_floating_point_v<Number>)
            return sqlite3_bind_double(statement, place, static_cast<double>(number));
        else if (std::is_same_v<Number, std::uint64_t> &&
                 number > static_cast<Number>(std::numeric_limits<std::int64_t>::max()))
            return (*this)(std::to_string(number)); // SQLite has no such numbers
        else
            return sqlite3_bind_int64(statement, place, static_cast<sqlite3_int64>(number));
    }
};

} // namespace

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Statement::Statement(sqlite3* database, const char* sql) : m_database(database) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK)
        fail(database);
    m_statement.reset(statement);
}

void Statement::bind(int place, const std::string& text) {
    bind(place, Value(text));
}

void Statement::bind(int place, std::int64_t number) {
    bind(place, Value(number));
}

void Statement::bind(int place, const Value& value) {
    if (std::visit(Binder{m_statement.get(), place}, value) != SQLITE_OK)
        fail(m_database);
}

bool Statement::step() {
    const int result = sqlite3_step(m_statement.get());
    if (result == SQLITE_ROW)
        return true;
    if (result != SQLITE_DONE)
        fail(m_database);
    sqlite3_reset(m_statement.get());
    return false;
}

std::int64_t Statement::number(int column) const {
    return sqlite3_column_int64(m_statement.get(), column);
}

std::string Statement::text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement.get(), column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column));
    return text != nullptr ? std::string(text, size) : std::string();
}

void Recording::Close::operator()(sqlite3* database) const {
    // With its log gone a file can be read by those who may not write beside it. Who else has it open keeps
    // it.
    const Writing writing;
    if (endsLog) {
        sqlite3_busy_timeout(database, 0);
        sqlite3_exec(database, "PRAGMA journal_mode = DELETE", nullptr, nullptr, nullptr);
    }
    sqlite3_close_v2(database);
}

Recording::Recording(const std::string& path, bool writable) : m_path(path) {
    if (path.empty())
        throw usageFailure("the name of the recording is empty");
    // Some names mean something else to SQLite, such as :memory:.
    const std::string file = std::filesystem::absolute(path).string();
    sqlite3* database = nullptr;
    const int flags = writable ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY;
    const int result = sqlite3_open_v2(file.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    m_database.reset(database);
    std::string reason = result != SQLITE_OK ? sqlite3_errmsg(database) : "";
    if (reason.empty() && writable && sqlite3_db_readonly(database, "main") == 1)
        reason = "it is write-protected";
    if (!reason.empty() && !writable)
        throw usageFailure("cannot read " + path + ": " + reason);
    if (!reason.empty())
        throw Failure(ExitCode::OutputFailed, {"cannot write " + path + ": " + reason, {}});
    sqlite3_busy_timeout(database, static_cast<int>(lockWait.count()));
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, longestText);
    prepareFile(writable);
}

void Recording::execute(const char* sql) {
    if (sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(m_database.get(), m_path);
}

std::int64_t Recording::pragma(const char* sql) {
    Statement statement(m_database.get(), sql);
    return statement.step() ? statement.number(0) : 0;
}

void Recording::prepareFile(bool writable) {
    sqlite3* const database = m_database.get();
    const bool isDatabase =
        sqlite3_exec(database, "PRAGMA trusted_schema = OFF; SELECT count(*) FROM sqlite_master", nullptr,
                     nullptr, nullptr) != SQLITE_NOTADB;
    if (isDatabase && writable)
        makeTables();
    if (!isDatabase || pragma("PRAGMA application_id") != applicationId)
        throw usageFailure(m_path + " is no recording of this program");
    if (pragma("PRAGMA user_version") != formatVersion)
        throw usageFailure(m_path + " was written by another version of this program");
    if (writable) {
        writeAhead();
        m_database.get_deleter().endsLog = true;
    }
}

/// SQLite itself does not wait for another program that changes the mode as well, because it begins or ends.
void Recording::writeAhead() {
    constexpr std::chrono::milliseconds pause{5};
    const auto deadline = std::chrono::steady_clock::now() + lockWait;
    const auto change = [this] {
        // The read opens the log, which nobody removes then.
        return sqlite3_exec(
            m_database.get(),
            "PRAGMA synchronous = FULL; PRAGMA journal_mode = WAL; SELECT count(*) FROM nodes", nullptr,
            nullptr, nullptr);
    };
    int result = change();
    while (result == SQLITE_BUSY && std::chrono::steady_clock::now() < deadline) {
        pauseFor(pause);
        result = change();
    }
    if (result != SQLITE_OK)
        fail(m_database.get(), m_path);
}

/// Another program may do the same at this moment.
void Recording::makeTables() {
    execute("BEGIN IMMEDIATE");
    if (pragma("PRAGMA application_id") == 0 && pragma("SELECT count(*) FROM sqlite_master") == 0)
        execute(tables);
    execute("COMMIT");
}

std::int64_t Recording::node(const std::string& url, const std::string& nodeId, const std::string& name) {
    Statement upsert(m_database.get(), "INSERT INTO nodes (url, node, name) VALUES (?1, ?2, ?3) "
                                       "ON CONFLICT (url, node) DO UPDATE SET name = ?3");
    upsert.bind(1, url);
    upsert.bind(2, nodeId);
    upsert.bind(3, name);
    upsert.step();
    Statement find(m_database.get(), "SELECT id FROM nodes WHERE url = ?1 AND node = ?2");
    find.bind(1, url);
    find.bind(2, nodeId);
    find.step();
    return find.number(0);
}

void Recording::add(std::chrono::system_clock::time_point time, const char* event, std::int64_t node,
                    const std::string& type, const Value& value, const std::string& text) {
    if (m_rows.empty())
        m_begun = std::chrono::steady_clock::now();
    m_rows.push_back({time, event, node, type, value, text});
    const auto* valueText = std::get_if<std::string>(&value);
    m_textSize += text.size() + (valueText != nullptr ? valueText->size() : 0);
    if (m_rows.size() >= mostKeptRows || m_textSize >= mostKeptText)
        commit();
    else if (m_rows.size() % mostRows == 0 || m_textSize >= mostText)
        commitUnlessLocked();
}

void Recording::insert(const Row& row) {
    if (!m_insert)
        m_insert.emplace(m_database.get(), "INSERT INTO changes (time, event, node, type, value, text) "
                                           "VALUES (?1, ?2, ?3, nullif(?4, ''), ?5, ?6)");
    m_insert->bind(1, utcText(row.time));
    m_insert->bind(2, std::string(row.event));
    m_insert->bind(3, row.node);
    m_insert->bind(4, row.type);
    m_insert->bind(5, row.value);
    m_insert->bind(6, isValidUtf8(row.text) ? row.text : printable(row.text));
    m_insert->step();
}

void Recording::together(const std::function<void()>& work) {
    execute("BEGIN IMMEDIATE");
    try {
        work();
        execute("COMMIT");
    } catch (...) {
        m_insert.reset();
        sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void Recording::commit() {
    if (m_rows.empty())
        return;
    const Writing writing;
    together([this] {
        for (const Row& row : m_rows)
            insert(row);
    });
    m_rows.clear();
    m_textSize = 0;
    m_held.reset();
}

void Recording::commitWhenDue() {
    if (std::chrono::steady_clock::now() - m_begun >= longestWait)
        commitUnlessLocked();
}

void Recording::commitUnlessLocked() {
    if (std::chrono::steady_clock::now() < m_nextTry)
        return;
    const ShortWait shortWait(m_database.get());
    try {
        commit();
    } catch (const Failure&) {
        if (sqlite3_errcode(m_database.get()) != SQLITE_BUSY)
            throw;
        m_nextTry = std::chrono::steady_clock::now() + longestWait;
        if (!m_held)
            m_held = std::make_unique<Writing>();
    }
}

void Recording::rows(const RowFilter& filter, const std::function<void(const RecordedRow&)>& take) {
    Statement select(m_database.get(), selectRows);
    select.bind(1, filter.node);
    select.bind(2, filter.from);
    select.bind(3, filter.to);
    // Rows that are not wanted are many, too, and take their time.
    constexpr int stepsBetweenLooks = 100000;
    sqlite3_progress_handler(
        m_database.get(), stepsBetweenLooks, [](void*) { return isInterrupted() ? 1 : 0; }, nullptr);
    try {
        while (select.step())
            take({select.text(0), select.text(1), select.text(2), select.text(3), select.text(4),
                  select.text(5), select.text(6)});
    } catch (const Failure&) {
        throwIfInterrupted();
        throw;
    }
}

} // namespace opcua_cli
