#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdlib>
#include <future>
#include <memory>
#include <mutex>
#include <netdb.h>
#include <new>
#include <pthread.h>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "socket/look_ups.h"
#include "socket/name_resolution.h"
#include "support/next_definition.h"
#include "support/own_resolver.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "uabase/trace.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using UaClientSdk::Clock;
using UaClientSdk::Deadline;
using UaClientSdk::LookUps;
using UaClientSdk::mostLookUps;
using UaClientSdk::mostLookUpThreads;
using UaClientSdk::Resolution;
using UaClientSdk::resolveHost;

namespace {

bool noMoreThreads = false;

/// What the thread may still allocate before one allocation fails; negative for all it likes.
thread_local int allocationsLeft = -1;

} // namespace

// A system that has no memory left, when the test says so.
__attribute__((visibility("default"))) void* operator new(std::size_t size) {
    void* const block = allocationsLeft == 0 ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (allocationsLeft >= 0)
        --allocationsLeft;
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}
__attribute__((visibility("default"))) void operator delete(void* block) noexcept {
    std::free(block);
}
__attribute__((visibility("default"))) void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

// A system that has no thread left, when the test says so.
extern "C" __attribute__((visibility("default"))) int
pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = nextDefinition<Create>("pthread_create");
    return noMoreThreads ? EAGAIN : next(thread, attributes, start, argument);
}

namespace {

/// Answers no name before it is told to. Threads that look up may outlive it.
class HeldResolver {
public:
    HeldResolver() {
        test_support::setResolver(
            [held = m_held](const std::string& name, std::vector<std::string>& addresses) {
                std::unique_lock<std::mutex> lock(held->mutex);
                held->asked.push_back(name);
                held->changed.notify_all();
                held->changed.wait(lock, [&held] { return held->isReleased; });
                addresses = {"192.0.2.7"};
                return 0;
            });
    }
    ~HeldResolver() { release(); }
    HeldResolver(const HeldResolver&) = delete;
    HeldResolver& operator=(const HeldResolver&) = delete;

    void release() const {
        const std::lock_guard<std::mutex> lock(m_held->mutex);
        m_held->isReleased = true;
        m_held->changed.notify_all();
    }
    bool waitForQuestions(std::size_t count) const {
        std::unique_lock<std::mutex> lock(m_held->mutex);
        return m_held->changed.wait_for(lock, std::chrono::seconds(10),
                                        [&] { return m_held->asked.size() >= count; });
    }
    std::vector<std::string> asked() const {
        const std::lock_guard<std::mutex> lock(m_held->mutex);
        return m_held->asked;
    }

private:
    struct Held {
        std::mutex mutex;
        std::condition_variable changed;
        bool isReleased = false;
        std::vector<std::string> asked;
    };

    const std::shared_ptr<Held> m_held = std::make_shared<Held>();
};

class NameResolution : public testing::Test {
protected:
    ~NameResolution() override {
        noMoreThreads = false;
        test_support::setResolver(nullptr);
    }

    OpcUa_StatusCode resolve(const std::string& host) { return resolve(host, m_deadline); }
    OpcUa_StatusCode resolve(const std::string& host, const Deadline& deadline) {
        return resolveHost(host, deadline, m_addresses).statusCode();
    }
    /// What becomes of a name that the resolver answers with this error.
    OpcUa_StatusCode resolveWith(int error) {
        test_support::setResolver([error](const std::string&, std::vector<std::string>&) { return error; });
        const OpcUa_StatusCode status = resolve("plant");
        EXPECT_THAT(m_addresses, IsEmpty());
        return status;
    }

    const Deadline m_deadline{10000};
    const Deadline m_noTime{0};
    std::vector<std::string> m_addresses;
};

TEST_F(NameResolution, AnAddressNeedsNoResolver) {
    noMoreThreads = true;
    EXPECT_EQ(resolve("127.0.0.1"), OpcUa_Good);
    EXPECT_THAT(m_addresses, ElementsAre("127.0.0.1"));
    EXPECT_EQ(resolve("::1"), OpcUa_Good);
    EXPECT_THAT(m_addresses, ElementsAre("::1"));
}

TEST_F(NameResolution, ANameHasAddresses) {
    EXPECT_EQ(resolve("localhost"), OpcUa_Good);
    EXPECT_THAT(m_addresses, Not(IsEmpty()));
}

TEST_F(NameResolution, ASystemWithoutAThreadLeftFailsWithoutAnException) {
    noMoreThreads = true;
    EXPECT_EQ(resolve("localhost"), UA_STATUSCODE_BADRESOURCEUNAVAILABLE);
    EXPECT_THAT(m_addresses, IsEmpty());
    noMoreThreads = false;
    EXPECT_EQ(resolve("localhost"), OpcUa_Good);
}

TEST_F(NameResolution, AnUnknownNameIsNotFound) {
    EXPECT_EQ(resolveWith(EAI_NONAME), OpcUa_BadNotFound);
    EXPECT_EQ(resolveWith(EAI_NODATA), OpcUa_BadNotFound);
}

TEST_F(NameResolution, AResolverThatIsDownIsNoUnknownName) {
    EXPECT_EQ(resolveWith(EAI_AGAIN), OpcUa_BadCommunicationError);
    EXPECT_EQ(resolveWith(EAI_FAIL), OpcUa_BadCommunicationError);
    EXPECT_EQ(resolveWith(EAI_SYSTEM), OpcUa_BadCommunicationError);
    EXPECT_EQ(resolveWith(EAI_MEMORY), OpcUa_BadOutOfMemory);
}

TEST_F(NameResolution, TellsTheTraceWhatTheResolverSays) {
    const test_support::TemporaryDirectory directory;
    const std::string file = (directory.path() / "trace.log").string();
    UaTrace::initTrace(UaTrace::Errors, 1000, 1, UaString(file.c_str()), "test");
    resolveWith(EAI_AGAIN);
    UaTrace::setTraceActive(false);
    EXPECT_THAT(test_support::contentOf(file),
                HasSubstr(std::string("the host name \"plant\" does not resolve: ") +
                          gai_strerror(EAI_AGAIN) + " (BadCommunicationError)"));
}

TEST_F(NameResolution, OfANameThatIsLookedUpAlreadyIsThatLookUp) {
    const HeldResolver resolver;
    EXPECT_EQ(resolve("plant", m_noTime), OpcUa_BadTimeout);
    EXPECT_TRUE(resolver.waitForQuestions(1));
    EXPECT_EQ(resolve("plant", m_noTime), OpcUa_BadTimeout);
    auto third = std::async(std::launch::async, [this] { return resolve("plant"); });
    std::vector<std::string> others;
    auto fourth =
        std::async(std::launch::async, [&] { return resolveHost("other", m_deadline, others).statusCode(); });
    EXPECT_TRUE(resolver.waitForQuestions(2));
    EXPECT_THAT(resolver.asked(), ElementsAre("plant", "other"));
    resolver.release();
    EXPECT_EQ(third.get(), OpcUa_Good);
    EXPECT_EQ(fourth.get(), OpcUa_Good);
    EXPECT_THAT(m_addresses, ElementsAre("192.0.2.7"));
}

TEST_F(NameResolution, HasABoundForNamesThatAreNotAnswered) {
    const HeldResolver resolver;
    for (std::size_t i = 0; i < mostLookUps; ++i) {
        EXPECT_EQ(resolve("plant" + std::to_string(i), m_noTime), OpcUa_BadTimeout);
        EXPECT_EQ(resolve("plant" + std::to_string(i), m_noTime), OpcUa_BadTimeout);
    }
    EXPECT_EQ(resolve("one more", m_noTime), UA_STATUSCODE_BADRESOURCEUNAVAILABLE);
    EXPECT_TRUE(resolver.waitForQuestions(mostLookUps));
    EXPECT_EQ(resolver.asked().size(), mostLookUps);
    auto patient = std::async(std::launch::async, [this] { return resolve("one more"); });
    resolver.release();
    EXPECT_EQ(patient.get(), OpcUa_Good);
    EXPECT_THAT(m_addresses, ElementsAre("192.0.2.7"));
}

/// Still there for a thread that ends late.
LookUps& lastingLookUps(std::chrono::milliseconds patience, LookUps::LookUp lookUp) {
    static auto& all = *new std::vector<LookUps*>; // not destroyed: what is in it would be lost
    return *all.emplace_back(new LookUps(std::move(lookUp), patience));
}

LookUps& impatient(LookUps::LookUp lookUp) {
    return lastingLookUps(std::chrono::milliseconds(0), std::move(lookUp));
}

/// A look-up that ends when the test says so.
LookUps::LookUp countedUntil(const std::shared_ptr<std::atomic<std::size_t>>& questions,
                             std::promise<void>& release) {
    return [questions, end = release.get_future().share()](const std::string&) -> Resolution {
        ++*questions;
        end.wait();
        return {UaStatus(), {"192.0.2.8"}, ""};
    };
}

TEST(ALookUpWithoutMemory, LeavesNothingInTheWayOfTheNext) {
    for (int allocations = 0; allocations < 20; ++allocations) {
        LookUps& lookUps =
            impatient([](const std::string&) -> Resolution { return {UaStatus(), {"192.0.2.8"}, ""}; });
        const std::string name = "a name that is too long to be kept without an allocation";
        const Deadline deadline(10000);
        try {
            allocationsLeft = allocations;
            lookUps.ask(name, deadline);
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): it may end so
        }
        allocationsLeft = -1;
        EXPECT_THAT(lookUps.ask(name, deadline).addresses, ElementsAre("192.0.2.8")) << allocations;
    }
}

TEST(ALookUpThatNeverEnds, DoesNotShutItsNameOut) {
    std::promise<void> release;
    const auto begun = std::make_shared<std::promise<void>>();
    LookUps& lookUps =
        impatient([begun, end = release.get_future().share(),
                   isFirst = std::make_shared<std::atomic<bool>>(true)](const std::string&) -> Resolution {
            if (isFirst->exchange(false)) {
                begun->set_value();
                end.wait();
            }
            return {UaStatus(), {"192.0.2.8"}, ""};
        });
    EXPECT_EQ(lookUps.ask("plant", Deadline(0)).status.statusCode(), OpcUa_BadTimeout);
    begun->get_future().wait();
    EXPECT_THAT(lookUps.ask("plant", Deadline(10000)).addresses, ElementsAre("192.0.2.8"));
    release.set_value();
}

TEST(ALookUpThatNeverEnds, HasABoundedNumberBesideIt) {
    std::promise<void> release;
    const auto questions = std::make_shared<std::atomic<std::size_t>>(0);
    LookUps& lookUps = impatient(countedUntil(questions, release));
    for (std::size_t i = 0; i < 2 * mostLookUpThreads; ++i)
        EXPECT_EQ(lookUps.ask("plant", Deadline(0)).status.statusCode(), OpcUa_BadTimeout);
    release.set_value();
    EXPECT_THAT(lookUps.ask("plant", Deadline(10000)).addresses, ElementsAre("192.0.2.8"));
    EXPECT_LE(*questions, mostLookUpThreads + 1);
}

TEST(ALookUpThatNeverEnds, HasTheNextOneBesideItAfterTwiceAsLong) {
    std::promise<void> release;
    const auto questions = std::make_shared<std::atomic<std::size_t>>(0);
    LookUps& lookUps = lastingLookUps(std::chrono::milliseconds(20), countedUntil(questions, release));
    const auto start = Clock::now();
    while (*questions < 5)
        EXPECT_EQ(lookUps.ask("plant", Deadline(1)).status.statusCode(), OpcUa_BadTimeout);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(20 + 40 + 80 + 160));
    release.set_value();
    EXPECT_THAT(lookUps.ask("plant", Deadline(10000)).addresses, ElementsAre("192.0.2.8"));
}

} // namespace
