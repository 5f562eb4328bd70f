#include "openssl_use.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

#include <openssl/crypto.h>
#include <openssl/err.h>

namespace pki {
namespace {

constexpr std::chrono::seconds longestWaitForUses{3};

struct Uses {
    std::mutex mutex;
    std::condition_variable ended;
    int underWay = 0;
    bool isInitialised = false;
    bool areOver = false;
};

/// Never destroyed: threads use it until the process is gone.
Uses& allUses() {
    static Uses* const uses = new Uses;
    return *uses;
}

thread_local int usesOfThisThread = 0;

/// OpenSSL calls it when it is about to be cleaned up, whoever asked for that.
void endUses() {
    Uses& uses = allUses();
    const int own = usesOfThisThread > 0 ? 1 : 0;
    std::unique_lock<std::mutex> lock(uses.mutex);
    uses.areOver = true;
    uses.ended.wait_for(lock, longestWaitForUses, [&uses, own] { return uses.underWay <= own; });
}

/// False when OpenSSL is cleaned up already.
bool initialise() {
    return OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr) == 1 && OPENSSL_atexit(endUses) == 1;
}

bool beginUse() {
    Uses& uses = allUses();
    const std::lock_guard<std::mutex> lock(uses.mutex);
    uses.isInitialised = uses.isInitialised || initialise();
    if (!uses.isInitialised || uses.areOver)
        return false;
    ++uses.underWay;
    return true;
}

void endUse() {
    Uses& uses = allUses();
    {
        const std::lock_guard<std::mutex> lock(uses.mutex);
        --uses.underWay;
    }
    uses.ended.notify_all();
}

} // namespace

OpenSslUse::OpenSslUse() : m_isPossible(usesOfThisThread > 0 || beginUse()) {
    if (!m_isPossible)
        return;
    ++usesOfThisThread;
    ERR_set_mark();
}

OpenSslUse::~OpenSslUse() {
    if (!m_isPossible)
        return;
    ERR_pop_to_mark();
    if (--usesOfThisThread == 0)
        endUse();
}

} // namespace pki
