#pragma once

#include "../connection.h"
#include "change_inbox.h"
#include "watch_list.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace opcua_cli {

/// Something about the connection that the user should know.
struct LinkEvent {
    enum class Kind { Lost, NoAnswer, Connected, ShuttingDown };

    Kind kind;
    std::string text;
    double seconds = 0; ///< until the next try; for Connected how long there was no connection
};

/// A connection with a subscription that is made anew, with all its items, whenever it is lost.
class Link {
public:
    using Clock = std::chrono::steady_clock;

    /// Connects. Throws Failure as Connection.
    Link(const ConnectOptions& options, int intervalMilliseconds, ChangeInbox& inbox);

    Connection& connection() { return m_connection; }
    bool isUp() const { return m_up; }

    /// Subscribes to the changes of these nodes, which must live on. Throws Failure.
    void watch(const std::vector<WatchedNode>& nodes, const std::optional<Index>& index);

    /// Why the server does not monitor a node, for every node; as of the last connect.
    const std::vector<std::optional<Problem>>& refusals() const { return m_refusals; }

    /// Looks after the connection; to be called often. Tries again when it is time to, which takes as long as
    /// a connect. Throws Failure (Interrupted, ...).
    std::optional<LinkEvent> look();

    /// The text form of a value, where the library delivers none; nothing when it can't be read now.
    std::optional<std::string> readText(const WatchedNode& watched);

private:
    using Seconds = std::chrono::duration<double>;

    void subscribe();
    void addAll();
    void addElements();
    void refuse(std::size_t node, int resultCode);
    std::optional<LinkEvent> checkStatus();
    LinkEvent lose(const std::string& reason);
    std::optional<LinkEvent> tryAgain();
    LinkEvent waitForNextTry(LinkEvent::Kind kind, const std::string& reason);

    Connection m_connection;
    int m_interval;
    const std::vector<WatchedNode>* m_nodes = nullptr;
    std::optional<Index> m_index;
    std::vector<std::optional<Problem>> m_refusals;
    bool m_up = true;
    bool m_shutdownTold = false;
    Clock::time_point m_lostAt{};
    Clock::time_point m_nextTry{};
    Seconds m_pause{};
};

} // namespace opcua_cli
