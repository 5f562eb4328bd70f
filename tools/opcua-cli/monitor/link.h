#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "connection.h"
#include "values/job.h"

namespace opcua_cli {

/// Something about the connection that the user should know.
struct LinkEvent {
    enum class Kind {
        Lost,
        NoAnswer, ///< of a server that is tried again
        Connected,
        ShuttingDown,
        Silent, ///< an outage: connection, session and items are kept
        Answers ///< again; of what changed meanwhile the latest values come
    };

    /// In documents and recordings.
    const char* name() const;

    Kind kind;
    std::string text;
    double seconds = 0; ///< until the next try; for Connected how long there was no connection
};

/// A connection with a subscription that is made anew, with all its items, whenever it is lost.
class Link {
public:
    using Clock = std::chrono::steady_clock;

    /// Connects. Throws Failure as Connection.
    Link(const ConnectOptions& options, int intervalMilliseconds, Connection::DataChangeHandler onDataChange);

    Connection& connection() { return m_connection; }
    bool isUp() const { return m_up && !m_isSilent; }

    /// Subscribes to the changes of these nodes, which must live on. With each connect those have a problem
    /// that the server does not monitor. Throws Failure.
    void watch(Jobs& watched);

    /// Looks after the connection; to be called often. Tries again when it is time to, which takes as long as
    /// a connect. Throws Failure (Interrupted, ...).
    std::optional<LinkEvent> look();

    /// The text form of a value, where the library delivers none; nothing when it can't be read now.
    std::optional<Value> readText(const std::string& nodeId);
    /// One element of an array; nothing when it can't be read now.
    std::optional<Value> readElement(const Job& watched, const Index& index);
    /// Writes what is wanted; gives what went wrong. A whole array, whose lengths may be others by now, is
    /// looked for among `maxNodes` nodes first.
    std::optional<Problem> write(const Job& job, std::size_t maxNodes);

private:
    using Seconds = std::chrono::duration<double>;

    void subscribe();
    void addAll();
    void addElement(Job& watched);
    std::optional<LinkEvent> checkStatus();
    std::optional<LinkEvent> noteSilence(bool isSilent);
    void throwIfNothingIsWatched() const;
    void throwIfReshaped(const Job& job, std::size_t maxNodes);
    LinkEvent lose(const std::string& reason);
    std::optional<LinkEvent> tryAgain();
    std::optional<Value> whileUp(const std::function<std::optional<Value>()>& read) const;
    LinkEvent waitForNextTry(LinkEvent::Kind kind, const std::string& reason);

    Connection m_connection;
    int m_interval;
    Jobs* m_watched = nullptr;
    bool m_up = true;
    bool m_isSilent = false;
    bool m_shutdownTold = false;
    Clock::time_point m_lostAt{};
    Clock::time_point m_nextTry{};
    Seconds m_pause{};
};

} // namespace opcua_cli
