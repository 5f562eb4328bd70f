#pragma once

namespace pki {

/// One call from outside that uses OpenSSL: every public function that does begins with it. Not possible once
/// OpenSSL has been cleaned up, which happens while a process exits although other threads run on; what was
/// begun before then is waited for, a few seconds at most. A use within another is possible if that one is.
///
/// Whoever initialises OpenSSL first decides whether it is cleaned up at exit at all: this library has it
/// left as it is, so that a client which is still there loses nothing.
///
/// Keeps what our own failures leave in the thread's error queue from an application that uses OpenSSL too.
class OpenSslUse {
public:
    OpenSslUse();
    ~OpenSslUse();
    OpenSslUse(const OpenSslUse&) = delete;
    OpenSslUse& operator=(const OpenSslUse&) = delete;

    bool isPossible() const { return m_isPossible; }

private:
    bool m_isPossible;
};

} // namespace pki
