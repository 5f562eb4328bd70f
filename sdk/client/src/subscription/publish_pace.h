#pragma once

#include "socket/deadline.h"

namespace UaClientSdk {

/// How many Publish requests wait at a server, and when the next one may go out: a server that refuses them,
/// or answers without end with nothing to deliver, is asked less and less often.
class PublishPace {
public:
    /// There is a new subscription, which may change what the server says.
    void restart();

    /// Whether one more request may go out beside `waiting` ones.
    bool mayAsk(unsigned int waiting, Clock::time_point now) const;
    /// Not before this.
    Clock::time_point notBefore() const { return m_notBefore; }

    /// A request was answered with a message...
    void served();
    void messageOfUse() { m_keepAlives = m_uselessMessages = 0; }
    void keepAlive() { pace(m_keepAlives); }
    /// For a subscription that is not known, or one with nothing to hand on now.
    void messageOfNoUse() { pace(m_uselessMessages); }
    /// ...or refused. False when it was one of several that were refused together, which count as one.
    bool refused();
    /// The server has its fill. After many messages one more is tried again.
    void takesOneLess();
    /// A request did not get out.
    void pause();

    unsigned int refusals() const { return m_refusals; }
    bool isRefusedForGood() const;

private:
    void pace(unsigned int& messages);

    unsigned int m_limit = 0;           ///< how many the server takes
    unsigned int m_servedAtLimit = 0;   ///< messages since that was found
    unsigned int m_refusals = 0;        ///< in a row
    unsigned int m_keepAlives = 0;      ///< since the last message of use
    unsigned int m_uselessMessages = 0; ///< likewise
    Clock::time_point m_notBefore{};
};

} // namespace UaClientSdk
