#pragma once

#include <cstddef>
#include <deque>

#include "calls/call.h"
#include "calls/pipe.h"
#include "calls/reading_turn.h"
#include "calls/window.h"

namespace UaClientSdk {

/// Calls of one thread that are on their way at the same time. Their answers are given out in the order of
/// the requests: one that comes before its turn is kept, as long as that is not too much. See hasRoom(): no
/// server that is meant well comes close.
class Pipe::Series {
public:
    Series(Pipe& pipe, const Window& window) : m_pipe(pipe), m_window(window), m_turn(pipe) {}
    /// Forgets what is still on its way.
    ~Series();
    Series(const Series&) = delete;
    Series& operator=(const Series&) = delete;

    bool isEmpty() const { return m_sent.empty(); }
    /// Whether one more request may go out before the next answer is taken: as many as the window is wide,
    /// fewer when the answers are long, and none while another thread waits for room to send.
    bool hasRoom() const;
    /// Sends as Pipe::call() does, within the request's own time. One that cannot be sent has its answer.
    /// @param expectedResults  for expectedResults(), when its answer is the next
    void send(void* request, const UA_DataType& type, const Deadline& deadline, std::size_t expectedResults);
    /// The answer to a request that is not sent at all.
    void refuse(UaStatus status, std::size_t expectedResults);

    /// Of the oldest request, the one whose answer is next.
    std::size_t expectedResults() const { return m_sent.front().expectedResults; }
    /// Waits for the answer to the oldest request, until that one's time is over.
    UaStatus await(AnswerReceiver& receiver);
    /// How the request went whose answer was given out last.
    const Window::Flight& lastFlight() const { return m_lastFlight; }

private:
    struct Sent {
        Sent(const Deadline& deadline, KeptAnswers* kept, std::size_t window, std::size_t results)
            : call(deadline, kept), windowSize(window), expectedResults(results) {}
        Call call;
        std::size_t windowSize;
        std::size_t together = 1; ///< as in Window::Flight
        std::size_t expectedResults;
    };

    void end(Call& call, UaStatus reason);
    Window::Flight flightOf(const Sent& sent) const;

    Pipe& m_pipe;
    const Window& m_window;
    KeptAnswers m_kept;
    std::deque<Sent> m_sent; ///< the oldest first
    Window::Flight m_lastFlight;
    ReadingTurn m_turn; ///< held to the end of the series, once it is had
};

} // namespace UaClientSdk
