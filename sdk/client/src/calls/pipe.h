#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "calls/pending_requests.h"
#include "channel/secure_channel.h"
#include "socket/deadline.h"
#include "uabase/byte_view.h"
#include "uabase/status.h"

namespace UaClientSdk {

/// Takes the answer to a request.
class AnswerReceiver {
public:
    virtual ~AnswerReceiver() = default;
    /// `body` is type id and answer, valid for the time of the call; with a bad `status` there is none.
    /// Called once at the most, for a call with what the server says alone. May not use the pipe.
    virtual UaStatus answered(UaStatus status, UaByteView body) = 0;
};

/// Learns what happens to a connection, on the thread that notices it. May not use the pipe.
class ConnectionListener {
public:
    virtual ~ConnectionListener() = default;
    /// Something came from the server.
    virtual void serverSpoke() = 0;
    /// The connection is of no more use. Told once, and not of an end that was asked for. `waiting` requests
    /// of series had no answer yet.
    virtual void connectionEnded(UaStatus reason, std::size_t waiting) = 0;
};

/// Whoever waits for the socket while no call reads it.
class IdleReader {
public:
    virtual ~IdleReader() = default;
    virtual void leaveSocket() = 0;
    virtual void watchSocket() = 0;
    /// What was refused because somebody else was sending may go out now.
    virtual void sendingIsFree() = 0;
};

/// Requests out, answers in, each answer to whom it belongs.
///
/// A call runs on its caller's thread, which sends the request and reads until the answer is there. One
/// thread reads at a time: it hands other calls their answers, and passes the reading on when it has its own.
/// While no call reads, the idle reader does. Whoever waits for room to send reads meanwhile if nobody else
/// does: two sides that both wait to be read would wait for ever.
class Pipe {
public:
    explicit Pipe(std::unique_ptr<SecureChannel> channel) : m_channel(std::move(channel)) {}
    ~Pipe() { close(UA_STATUSCODE_BADCONNECTIONCLOSED); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    /// Null takes it away again.
    void setListener(ConnectionListener* listener) { m_listener = listener; }
    void setIdleReader(IdleReader* reader) { m_idleReader = reader; }
    SecureChannel& channel() { return *m_channel; }

    /// One call on this thread, sending included within `deadline`. `request` begins with a UA_RequestHeader,
    /// whose handle, time and time-out hint are filled in. The result is what `receiver` returns, or why it
    /// was not asked.
    UaStatus call(void* request, const UA_DataType& type, const Deadline& deadline, AnswerReceiver& receiver);
    /// Several calls on this thread, sent before the answers to the ones before are there.
    class Series;

    /// What post() and renew() need at the most to get a small request onto the wire; one of which a part is
    /// on it already has as long as a call.
    static constexpr int postLimit = 1000; // ms
    using Answered = PendingRequest::Answered;
    /// Sends a request whose answer `receiver` is given on the thread that reads it. Bad when it could not be
    /// sent within `deadline` and was not answered either: `receiver` is not called then. BadWouldBlock while
    /// somebody else is sending, which may take as long as a call: the idle reader is told when it no longer
    /// is.
    UaStatus post(void* request, const UA_DataType& type, const Deadline& deadline, Answered answered,
                  std::shared_ptr<AnswerReceiver> receiver);
    /// Asks for a new token of the channel, in the way of post().
    UaStatus renew(const Deadline& deadline);

    /// For the idle reader: deals with what has arrived, for a moment at the most, unless a call is reading.
    void readArrived();

    /// When the server last spoke.
    Clock::time_point lastHeard() const { return Clock::time_point(Clock::duration(m_lastHeard)); }
    /// When it last took some of what did not fit into the socket at once.
    Clock::time_point lastTook() const { return Clock::time_point(Clock::duration(m_lastTook)); }
    /// When the oldest request was sent whose answer has to come soon; the end of time without one.
    Clock::time_point oldestUnanswered() const;
    /// Waits no longer for the answers that had to come soon to what was posted before `limit`: their
    /// receivers are given BadTimeout.
    void giveUpPosted(Clock::time_point limit);
    /// Waits no longer for the oldest `count` of those that are answered when there is data: their receivers
    /// are given BadTimeout.
    void giveUpOldestForData(unsigned int count);
    bool isEnded() const { return m_ended; }

    /// Ends all calls with `reason`, and the connection with them. The server is told as far as the system
    /// takes it at once; the listener is not.
    void close(UaStatus reason);
    /// The same without a word to the server: what the system has not delivered yet never is.
    void abandon(UaStatus reason);
    /// The same for a connection that is found to be of no use: the listener is told.
    void fail(UaStatus reason);
    /// Whether there is a call whose caller was told that it had no answer, or will be when the connection
    /// ends now, and that may still lie in the system: nothing was answered that was sent behind it.
    bool hasUnansweredCall() const;

private:
    class ReadingTurn;
    class Room;

    // Sending.
    template <typename Send>
    UaStatus send(PendingRequest& request, const Deadline& deadline, ReadingTurn& turn, Send&& sendRequest);
    UaStatus takeSendingTurn(PendingRequest& request, const Deadline& deadline, ReadingTurn& turn);
    void releaseSendingTurn();
    UaStatus sendCall(Call& call, void* request, const UA_DataType& type, ReadingTurn& turn);
    UaStatus notSent(const PendingRequest& request, UaStatus reason);
    void stopSending();

    // Reading.
    UaStatus awaitAnswer(Call& call, ReadingTurn& turn, AnswerReceiver& receiver);
    UaStatus readFor(Call& call, AnswerReceiver& receiver);
    void takeOwnAnswer(Call& call, const IncomingMessage& message);
    void noteReached(std::uint32_t requestId);
    UaStatus dispatchUntil(std::uint32_t requestId, IncomingMessage& message, bool& found);
    UaStatus dispatchAll();
    void dispatch(const IncomingMessage& message);
    UaStatus receiveSome();
    void heard(std::size_t count);

    /// Waits for its answer no longer; false for one that has been answered.
    bool forget(std::uint32_t requestId);
    enum class Ending { InOrder, WithoutAWord, Failed };
    void end(UaStatus reason, Ending ending);
    UaStatus giveUp(const Call& call);
    UaStatus endReason() const;

    const std::unique_ptr<SecureChannel> m_channel;
    std::atomic<ConnectionListener*> m_listener{nullptr};
    std::atomic<IdleReader*> m_idleReader{nullptr};
    std::atomic<Clock::rep> m_lastHeard{Clock::now().time_since_epoch().count()};
    std::atomic<Clock::rep> m_lastTook{0};
    std::atomic<bool> m_ended{false};
    unsigned int m_unexpected = 0; ///< the reading thread's

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_sendingFree;
    bool m_sending = false;
    bool m_sendingIsStuck = false;  ///< the socket is full
    bool m_sendingIsWanted = false; ///< by somebody who did not wait
    bool m_broken = false;          ///< the socket takes nothing any more
    bool m_reading = false;
    std::uint32_t m_lastRequestId = 1; ///< the channel was opened with that
    PendingRequests m_pending;
    std::uint32_t m_lastGivenUp = 0; ///< a call that was sent, and may not have reached the server
    UaStatus m_endReason;
};

} // namespace UaClientSdk
