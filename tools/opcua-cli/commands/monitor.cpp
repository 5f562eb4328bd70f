#include "commands/monitor.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <optional>
#include <poll.h>
#include <ratio>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "commands/commands.h"
#include "interrupt.h"
#include "monitor/array_reader.h"
#include "monitor/change_inbox.h"
#include "monitor/link.h"
#include "monitor/watched.h"
#include "output/terminal.h"

namespace opcua_cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds lookAtConnection{100};

struct MonitorOptions : FollowOptions {
    bool csv = false;
};

std::unique_ptr<MonitorOutput> makeOutput(const MonitorOptions& options, const Monitored& monitored) {
    if (options.json)
        return makeJsonLines(monitored);
    if (options.csv)
        return makeCsvLines(monitored);
    return terminalOn(STDOUT_FILENO).canRedraw ? makeLiveTable(monitored) : makeTextLines(monitored);
}

/// Follows the nodes until the time is over or somebody ends it.
class Monitor {
public:
    Monitor(const FollowOptions& options, Monitored& monitored, ChangeInbox& inbox, Link& link,
            MonitorOutput& output)
        : m_options(options), m_monitored(monitored), m_inbox(inbox), m_link(link), m_output(output),
          m_arrays(link), m_silent(monitored.nodes.size(), true) {}

    /// True when all nodes are monitored in the end.
    bool run() {
        m_link.watch(m_monitored.nodes);
        takeRefusals();
        const Clock::time_point start = Clock::now();
        for (bool isBusy = false; anyMonitored() && !isOver(start);) {
            wait(start, isBusy || !m_pending.empty());
            takeChanges();
            if (const std::optional<LinkEvent> event = m_link.look())
                takeEvent(*event);
            lookForSilence();
            isBusy = serveScreen();
            m_output.flush();
        }
        if (!m_link.isUp() && !m_output.isEnded())
            throw Failure(ExitCode::NoConnection,
                          {"there was no connection to the server any more", "a longer --duration"});
        return m_refused == 0;
    }

    /// What has come until now is still shown, but nothing is asked of the server any more.
    void end() {
        // In this order, and each once: the server goes on sending.
        std::size_t unread = showUnlessRead(std::exchange(m_pending, {}));
        unread += showUnlessRead(m_inbox.collect());
        tellDropped();
        if (unread > 0)
            m_output.leftUnread(unread);
        m_output.end();
    }

private:
    bool anyMonitored() const { return m_refused < m_monitored.nodes.size(); }

    bool isOver(Clock::time_point start) const {
        return m_output.isEnded() ||
               (m_options.duration &&
                Clock::now() - start >= std::chrono::duration<double>(*m_options.duration));
    }

    void wait(Clock::time_point start, bool isBusy) const {
        std::chrono::duration<double, std::milli> limit = lookAtConnection;
        if (m_options.duration)
            limit = std::min<decltype(limit)>(
                limit, start + std::chrono::duration<double>(*m_options.duration) - Clock::now());
        // Nothing is asked about the output: poll() tells when its reader is gone.
        std::array<pollfd, 3> watched{{{m_inbox.descriptor(), POLLIN, 0},
                                       {interruptDescriptor(), POLLIN, 0},
                                       {m_output.descriptor(), 0, 0}}};
        poll(watched.data(), watched.size(), isBusy ? 0 : std::max(static_cast<int>(limit.count()) + 1, 0));
        throwIfInterrupted();
        if ((watched[2].revents & (POLLERR | POLLHUP)) != 0) // a pipe, a socket
            throw Failure(ExitCode::OutputClosed, {});
    }

    /// Shows the changes but those that would have to be read; how many these are.
    std::size_t showUnlessRead(std::deque<Change> changes) {
        std::size_t unread = 0;
        for (Change& change : changes) {
            if (isReadWhenChanged(change)) {
                ++unread;
                continue;
            }
            complete(change);
            m_output.change(change);
        }
        return unread;
    }

    void tellDropped() {
        if (const std::size_t count = m_inbox.collectDropped())
            m_output.dropped(count);
    }

    /// For a while: a change that has to be read takes a round trip, and keys and signals are waiting as
    /// well.
    void takeChanges() {
        const Clock::time_point end = Clock::now() + lookAtConnection;
        // What waits beyond these waits in the inbox, which has a bound.
        if (m_pending.empty())
            m_pending = m_inbox.collect();
        while (!m_pending.empty() && Clock::now() < end) {
            throwIfInterrupted();
            complete(m_pending.front());
            const Change change = std::move(m_pending.front());
            m_pending.pop_front();
            m_silent[change.node] = false;
            m_output.change(change);
        }
        tellDropped();
    }

    bool isReadWhenChanged(const Change& change) const {
        const Job& watched = m_monitored.nodes[change.node];
        return !isWatchedWhole(watched) && (isReadAsText(watched) || change.cut);
    }

    /// The library's message holds no whole array, no long text, and nothing that it does not convert.
    void complete(Change& change) {
        const Job& watched = m_monitored.nodes[change.node];
        if (isWatchedWhole(watched)) {
            change.value = {};
        } else if (isReadWhenChanged(change)) {
            const std::optional<Value> read = watched.index ? m_link.readElement(watched, *watched.index)
                                                            : m_link.readText(watched.node.nodeId);
            change.readable = read.has_value();
            change.value = read.value_or(Value{});
            change.time = std::chrono::system_clock::now(); // the value is of now
        }
    }

    /// Does one thing of those that the screen wants; false when there was none.
    bool serveScreen() {
        if (const std::optional<Job> job = m_output.valueToWrite()) {
            m_output.written(m_link.write(*job, m_options.maxNodes));
            return true;
        }
        if (!m_arrays.isReading()) {
            const std::optional<std::size_t> node = m_output.arrayToRead(Clock::now());
            if (!node)
                return false;
            m_arrays.begin(*node, m_monitored.nodes[*node]);
        }
        if (m_arrays.readOn())
            m_output.arrayRead(m_arrays.node(), m_arrays.text());
        return true;
    }

    void takeEvent(const LinkEvent& event) {
        m_output.event(event);
        if (event.kind == LinkEvent::Kind::Connected)
            takeRefusals();
    }

    void takeRefusals() {
        m_refused = 0;
        for (std::size_t i = 0; i < m_monitored.nodes.size(); ++i) {
            const bool refused = m_monitored.nodes[i].problem.has_value();
            m_refused += refused ? 1 : 0;
            if (refused)
                m_output.refused(i);
            m_silent[i] = !refused;
        }
        m_silenceToldAt =
            Clock::now() + std::max<std::chrono::milliseconds>(
                               std::chrono::seconds(2), 3 * std::chrono::milliseconds(m_options.interval));
    }

    void lookForSilence() {
        if (!m_link.isUp() || Clock::now() < m_silenceToldAt)
            return;
        m_silenceToldAt = Clock::time_point::max();
        std::vector<std::size_t> nodes;
        for (std::size_t i = 0; i < m_silent.size(); ++i)
            if (m_silent[i])
                nodes.push_back(i);
        if (!nodes.empty())
            m_output.silent(nodes);
    }

    const FollowOptions& m_options;
    Monitored& m_monitored;
    ChangeInbox& m_inbox;
    Link& m_link;
    MonitorOutput& m_output;
    ArrayReader m_arrays;
    std::deque<Change> m_pending; ///< collected, and not yet shown
    std::vector<bool> m_silent;   ///< no value came since the node was monitored
    std::size_t m_refused = 0;
    Clock::time_point m_silenceToldAt = Clock::time_point::max();
};

Jobs jobsOf(const FollowOptions& options) {
    Jobs jobs;
    for (const std::string& given : options.nodes)
        jobs.push_back({{}, given, parseNodeReference(given)});
    if (options.index.empty())
        return jobs;
    const Index index = parseIndex(options.index);
    for (Job& job : jobs)
        job.index = index;
    return jobs;
}

} // namespace

ExitCode follow(const FollowOptions& options, const MakeOutput& makeOutput) {
    Jobs jobs = jobsOf(options);
    ChangeInbox inbox;
    Link link(options, options.interval,
              [&inbox](const _OpcUaDataChangeMsg& message) { inbox.add(message); });
    Monitored monitored{options.url,
                        variablesToWatch(link.connection(), jobs, options.depth, options.maxNodes)};
    makeNamesUnique(monitored.nodes);
    std::vector<std::string> ids;
    for (const Job& watched : monitored.nodes)
        ids.push_back(watched.node.nodeId);
    inbox.expect(ids);
    const std::unique_ptr<MonitorOutput> output = makeOutput(monitored);
    bool all = true;
    for (const Job& job : jobs) {
        if (job.problem)
            output->leftOut(namedProblem(job.given, *job.problem));
        all = all && !job.problem;
    }
    Monitor monitor(options, monitored, inbox, link, *output);
    try {
        all = monitor.run() && all;
    } catch (const Failure& failure) {
        if (!failure.isOutputOver())
            monitor.end();
        throw;
    } catch (const std::exception&) {
        monitor.end();
        throw;
    }
    monitor.end();
    return all ? ExitCode::Success : ExitCode::Failed;
}

namespace {

ExitCode runMonitor(const MonitorOptions& options) {
    return follow(options, [&](const Monitored& monitored) { return makeOutput(options, monitored); });
}

constexpr const char* monitorExamples = R"(Examples:
  opcua-cli monitor plant:4840 /Plant/Line1                  a whole folder, with all below it
  opcua-cli monitor plant:4840 'ns=2;s=Line1.Speed' /Plant/Line2/Speed --interval 200
  opcua-cli monitor plant:4840 /Plant/Line1/ZoneTemperatures --index 3
  opcua-cli monitor plant:4840 /Plant/Line1 --duration 60 --csv > minute.csv
  opcua-cli monitor plant:4840 /Plant --json | jq -r 'select(.event == "value") | .value'

Time stamps are those of arrival. The library samples ten times a second and delivers good values only.)";

} // namespace

void addFollowOptions(Command& command, FollowOptions& options) {
    command
        .addPositional("NODE", &options.nodes,
                       "Node ids or paths; a folder stands for all variables below it")
        .required = true;
    command.addOption("--interval", "MS", &options.interval,
                      "Milliseconds between two deliveries (default: " + std::to_string(options.interval) +
                          ")",
                      inRange(10, 3600000));
    command.addOption("--duration", "S", &options.duration, "Seconds until it ends (default: until Ctrl-C)",
                      inRange(0.1, 1e9));
    command.addOption("--index", "I,...", &options.index,
                      "One element of an array or matrix, counted from 0: 4, or 2,3 for row 2 and column 3");
    command.addOption("--depth", "N", &options.depth, "Levels below a folder, 1 to 100 (default: 100)",
                      inRange(1, greatestFollowDepth));
    addMaxNodesOption(command, options.maxNodes, "Look at so many nodes at most, in each search or folder");
}

void addMonitorCommand(Program& program, Action& chosen) {
    auto [command, options] = addCommand<MonitorOptions>(
        program, chosen, runMonitor, "monitor",
        "Follow values: a live table on a terminal (? shows its keys), lines in a pipe; Ctrl-C ends it",
        monitorExamples, documentLine);
    addConnectOptions(command, options);
    addCsvOption(command, options.csv);
    addFollowOptions(command, options);
}

} // namespace opcua_cli
