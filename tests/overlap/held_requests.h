#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "support/scripted/server.h"

/// Keeps a server's requests of one kind until no more come, two at least in the first place: so long they
/// are on their way at the same time. Then the case decides what becomes of them.
class HeldRequests {
public:
    using Calls = std::vector<scripted::Call>;
    using Answer = std::function<void(Calls& held)>;

    HeldRequests(scripted::Server& server, const UA_DataType& type, Answer answer, std::size_t first = 2);
    ~HeldRequests();
    HeldRequests(const HeldRequests&) = delete;
    HeldRequests& operator=(const HeldRequests&) = delete;

    /// The most that were on their way at the same time.
    std::size_t most() const;

private:
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        Calls held;
        std::size_t most = 0;
        bool over = false;
    };

    void run(const Answer& answer, std::size_t first);

    scripted::Server& m_server;
    const UA_DataType& m_type;
    std::shared_ptr<State> m_state = std::make_shared<State>();
    std::thread m_thread;
};

/// Whether the client asks for the server's state, as it does from time to time.
bool isProbe(const UA_ReadRequest& request);
bool isProbe(const scripted::Call& call);
