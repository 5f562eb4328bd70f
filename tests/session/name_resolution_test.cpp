#include <cerrno>
#include <pthread.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "socket/name_resolution.h"
#include "support/next_definition.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using UaClientSdk::Deadline;
using UaClientSdk::resolveHost;

namespace {

bool noMoreThreads = false;

} // namespace

// A system that has no thread left, when the test says so.
extern "C" __attribute__((visibility("default"))) int
pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = nextDefinition<Create>("pthread_create");
    return noMoreThreads ? EAGAIN : next(thread, attributes, start, argument);
}

namespace {

class NameResolution : public testing::Test {
protected:
    ~NameResolution() override { noMoreThreads = false; }

    const Deadline m_deadline{10000};
};

TEST_F(NameResolution, AnAddressNeedsNoResolver) {
    noMoreThreads = true;
    EXPECT_THAT(resolveHost("127.0.0.1", m_deadline), ElementsAre("127.0.0.1"));
    EXPECT_THAT(resolveHost("::1", m_deadline), ElementsAre("::1"));
}

TEST_F(NameResolution, ANameHasAddresses) {
    EXPECT_THAT(resolveHost("localhost", m_deadline), Not(IsEmpty()));
}

TEST_F(NameResolution, ASystemWithoutAThreadLeftFailsWithoutAnException) {
    noMoreThreads = true;
    EXPECT_THAT(resolveHost("localhost", m_deadline), IsEmpty());
}

} // namespace
