#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <future>
#include <limits>
#include <optional>
#include <ratio>
#include <string>

#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "interrupt.h"
#include "output/streams.h"
#include "text/time_text.h"
#include "text/utf8.h"
#include "values/value_buffer.h"

namespace opcua_cli {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
using Seconds = std::chrono::duration<double>;

/// Server.ServerStatus.CurrentTime, which every server has (OPC UA Part 5, 6.3).
constexpr const char* currentTimeId = "i=2258";

struct PingOptions : ConnectOptions {
    std::size_t count = std::numeric_limits<std::size_t>::max();
    double interval = 1;
};

/// What became of one request.
struct PingAnswer {
    std::optional<Milliseconds> roundTrip{}; ///< nothing when none came
    std::string problem{};                   ///< why not
    bool connectionLost = false;
    bool connectedAgain = false;
};

PingAnswer pingOnce(Connection& connection, bool connectFirst) {
    try {
        if (connectFirst)
            connection.reconnect();
        const Clock::time_point begin = Clock::now();
        const bool answered = readSingle(connection, currentTimeId, OpcUaDataType_Null).has_value();
        const Milliseconds time = Clock::now() - begin;
        if (!answered)
            return {std::nullopt, connection.lastProblem().explanation, false, connectFirst};
        return {time, {}, false, connectFirst};
    } catch (const Failure& failure) {
        return {std::nullopt, failure.problem().explanation, true};
    }
}

std::string millisecondsText(double milliseconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.3f", milliseconds);
    return text.data();
}

/// Milliseconds of the answers, and how many there are.
class RoundTrips {
public:
    void add(double milliseconds) {
        m_least = std::min(m_least, milliseconds);
        m_greatest = std::max(m_greatest, milliseconds);
        m_sum += milliseconds;
        ++m_count;
    }

    std::size_t count() const { return m_count; }

    std::string text() const {
        return "round trip min/avg/max " + millisecondsText(m_least) + "/" + millisecondsText(average()) +
               "/" + millisecondsText(m_greatest) + " ms";
    }
    Json json() const {
        if (m_count == 0)
            return {{"min", nullptr}, {"avg", nullptr}, {"max", nullptr}};
        return {{"min", m_least}, {"avg", average()}, {"max", m_greatest}};
    }

private:
    double average() const { return m_sum / static_cast<double>(m_count); }

    double m_least = std::numeric_limits<double>::infinity();
    double m_greatest = 0;
    double m_sum = 0;
    std::size_t m_count = 0;
};

/// Sends a request at a time and waits for its answer on this thread, while another one sits in the library.
class Ping {
public:
    explicit Ping(const PingOptions& options) : m_options(options), m_connection(options) {}

    ExitCode run() {
        std::optional<Failure> interruption;
        try {
            while (m_sent < m_options.count)
                probe();
        } catch (const Failure& failure) {
            if (failure.isOutputOver())
                throw;
            interruption = failure;
        }
        summarise();
        setLastWords(nullptr); // whatever keeps the session open
        // Ctrl-C is how it is meant to end.
        if (interruption && (m_answers.count() == 0 || interruption->exitCode() != ExitCode::Interrupted))
            throw Failure(*interruption);
        return m_answers.count() != 0 ? ExitCode::Success : ExitCode::NoConnection;
    }

private:
    void probe() {
        if (m_sent != 0)
            pauseUntil(m_sentAt + std::chrono::duration_cast<Clock::duration>(Seconds(m_options.interval)));
        m_sentAt = Clock::now();
        ++m_sent;
        m_running = std::async(std::launch::async, pingOnce, std::ref(m_connection), m_connectionLost);
        awaitAnswer();
        const PingAnswer answer = m_running.get();
        m_connectionLost = answer.connectionLost;
        if (answer.roundTrip)
            m_answers.add(answer.roundTrip->count());
        tell(answer);
    }

    void pauseUntil(Clock::time_point time) const {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now());
        pauseFor(std::max(rest, std::chrono::milliseconds(0)));
    }

    void awaitAnswer() const {
        constexpr std::chrono::milliseconds lookForInterrupt{50};
        const Seconds patience(std::max(m_options.interval, 1.0));
        bool told = false;
        while (m_running.wait_for(lookForInterrupt) != std::future_status::ready) {
            throwIfInterrupted();
            if (!told && Clock::now() - m_sentAt >= patience) {
                told = true;
                tell("waiting", Json::object(), "no answer yet");
            }
        }
    }

    void tell(const PingAnswer& answer) const {
        if (!answer.roundTrip) {
            tell("lost", {{"reason", answer.problem}}, "lost: " + printable(answer.problem));
            return;
        }
        const double milliseconds = answer.roundTrip->count();
        tell("answer", {{"milliseconds", milliseconds}, {"connectedAgain", answer.connectedAgain}},
             millisecondsText(milliseconds) + " ms" + (answer.connectedAgain ? ", connected again" : ""));
    }

    void tell(const char* event, const Json& details, const std::string& words) const {
        const std::string now = utcText(std::chrono::system_clock::now());
        Json json{{"event", event}, {"time", now}, {"number", m_sent}};
        json.update(details);
        writeOutput(m_options.json ? documentLine(json)
                                   : now + "\t" + std::to_string(m_sent) + "\t" + words + "\n");
    }

    void summarise() const {
        const std::size_t lost = m_sent - m_answers.count();
        Json json{{"event", "summary"}, {"sent", m_sent}, {"answered", m_answers.count()}, {"lost", lost}};
        json.update(m_answers.json());
        const std::string text = std::to_string(m_sent) + " sent, " + std::to_string(m_answers.count()) +
                                 " answered, " + std::to_string(lost) + " lost\n" +
                                 (m_answers.count() != 0 ? m_answers.text() + "\n" : "");
        writeOutput(m_options.json ? documentLine(json) : text);
    }

    const PingOptions& m_options;
    Connection m_connection;
    bool m_connectionLost = false;
    std::size_t m_sent = 0;
    RoundTrips m_answers;
    Clock::time_point m_sentAt;
    std::future<PingAnswer> m_running; ///< gone before the connection that it uses
};

ExitCode runPing(const PingOptions& options) {
    return Ping(options).run();
}

constexpr const char* pingExamples = R"(Examples:
  opcua-cli ping plant:4840                                  once a second, until Ctrl-C
  opcua-cli ping plant:4840 -n 100 -i 0.1
  opcua-cli ping plant:4840 --json | jq -r 'select(.event == "lost") | .time'

What is measured is a read of the server's time over a session. A server that falls silent is waited for, a lost
connection is taken up again. Exit code 0 says that an answer came at all.)";

} // namespace

void addPingCommand(Program& program, Action& chosen) {
    auto [command, options] = addCommand<PingOptions>(program, chosen, runPing, "ping",
                                                      "Measure how fast a server answers; Ctrl-C ends it",
                                                      pingExamples, documentLine);
    addConnectOptions(command, options);
    command.addOption("-n,--count", "N", &options.count, "Requests until it ends (default: until Ctrl-C)",
                      inRange(1, 1000000000));
    command.addOption("-i,--interval", "S", &options.interval,
                      "Seconds from one request to the next (default: 1)", inRange(0.01, 3600.0));
}

} // namespace opcua_cli
