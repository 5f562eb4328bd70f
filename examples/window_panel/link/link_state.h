#pragma once

#include <string>

namespace window_panel {

/// What the panel tells apart among the library's result codes.
enum ResultCode : int { ResultDone = 0, ResultRefused = 1, ResultNotConnected = 3, ResultNotRead = 7 };

/// How the panel stands with its plant.
struct LinkState {
    enum class Kind {
        Connecting,
        Connected,
        ShuttingDown, ///< connected; the server has said that it is about to stop
        Silent,       ///< nothing is heard of it; everything is kept, and goes on with its next word
        Lost,         ///< the panel connects again by itself
        GivenUp,      ///< a person has to say when: somebody was asked, and there is no connection
    };

    Kind kind = Kind::Connecting;
    int result = 0;   ///< of the latest connect
    std::string user; ///< whom the server knows, empty: nobody

    bool isCurrent() const { return kind == Kind::Connected || kind == Kind::ShuttingDown; }
};

} // namespace window_panel
