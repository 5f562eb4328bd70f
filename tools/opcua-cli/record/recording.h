#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "interrupt.h"
#include "values/value.h"

struct sqlite3;
struct sqlite3_stmt;

namespace opcua_cli {

/// One statement, prepared once and run many times; each operation throws as the recording it belongs to.
class Statement {
public:
    Statement(sqlite3* database, const char* sql);

    void bind(int place, const std::string& text);
    void bind(int place, std::int64_t number);
    void bind(int place, const Value& value);

    /// True when there is a row; after the last one it can be run again.
    bool step();
    std::int64_t number(int column) const;
    std::string text(int column) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    sqlite3* m_database;
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};

/// A row as it is exported.
struct RecordedRow {
    std::string time;
    std::string event;
    std::string url;
    std::string node;
    std::string name;
    std::string type;
    std::string text;
};

/// Which rows to export. What is empty does not matter.
struct RowFilter {
    std::string node{}; ///< rows of this one, and those that tell of the connection
    std::string from{}; ///< "2024-05-01T08:00:00.250Z"; the first time that is taken
    std::string to{};   ///< the first that is not
};

/// A SQLite file with recorded changes: README.md has its tables. Rows that were committed survive whatever
/// happens to the program or the machine. Several programs may write to it at once: the file is locked for a
/// commit alone.
class Recording {
public:
    /// Opens the file to add rows; makes it when there is none. Throws Failure: Usage for a file that is
    /// something else, OutputFailed when it cannot be written.
    static Recording toWrite(const std::string& path) { return {path, true}; }
    /// Throws Failure (Usage).
    static Recording toRead(const std::string& path) { return {path, false}; }

    /// Does something that changes the file, all of it or nothing.
    void together(const std::function<void()>& work);

    /// The number that stands for a node, or for the server itself when its id is empty.
    std::int64_t node(const std::string& url, const std::string& nodeId, const std::string& name);

    /// Adds a row, which is written with commit() at the latest; `event` must live on until then. Throws
    /// Failure (OutputFailed).
    void add(std::chrono::system_clock::time_point time, const char* event, std::int64_t node,
             const std::string& type, const Value& value, const std::string& text);
    /// Waits for another program that keeps the file locked. Throws Failure (OutputFailed).
    void commit();
    /// While another program keeps the file locked rows are kept, as many as there may be.
    void commitUnlessLocked();
    /// The same for rows that are older than a second.
    void commitWhenDue();

    /// In the order in which they were added. Throws Failure (Usage) when the file is damaged.
    void rows(const RowFilter& filter, const std::function<void(const RecordedRow&)>& take);

private:
    struct Close {
        bool endsLog; ///< which only a file of ours has from us

        void operator()(sqlite3* database) const;
    };
    struct Row {
        std::chrono::system_clock::time_point time;
        const char* event;
        std::int64_t node;
        std::string type;
        Value value;
        std::string text;
    };

    Recording(const std::string& path, bool writable);
    void execute(const char* sql);
    std::int64_t pragma(const char* sql);
    void prepareFile(bool writable);
    void makeTables();
    void writeAhead();
    void insert(const Row& row);

    std::string m_path;
    std::unique_ptr<sqlite3, Close> m_database{nullptr, Close{false}};
    std::optional<Statement> m_insert;
    std::vector<Row> m_rows;                           ///< not yet committed
    std::size_t m_textSize = 0;                        ///< theirs
    std::unique_ptr<Writing> m_held;                   ///< up by another program
    std::chrono::steady_clock::time_point m_begun{};   ///< the first of them was added
    std::chrono::steady_clock::time_point m_nextTry{}; ///< after the file was found locked
};

} // namespace opcua_cli
