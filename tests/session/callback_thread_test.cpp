#include <atomic>
#include <csignal>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <pthread.h>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "subscription/callback_thread.h"

using UaClientSdk::CallbackThread;

namespace {

CallbackThread::Task task(std::function<void()> function) {
    return {[](void* context, int) { (*static_cast<std::function<void()>*>(context))(); },
            std::make_shared<std::function<void()>>(std::move(function))};
}

std::unique_ptr<CallbackThread> startedThread() {
    UaStatus status;
    auto thread = CallbackThread::start(status);
    EXPECT_TRUE(status.isGood());
    return thread;
}

TEST(CallbackThread, RunsTasksInTheOrderOfPosting) {
    std::vector<int> order;
    const auto thread = startedThread();
    for (int i = 0; i < 1000; ++i)
        thread->post(task([&order, i] { order.push_back(i); }));
    thread->flush();
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(CallbackThread, RunsNothingOnTheCallersThread) {
    std::thread::id ran;
    const auto thread = startedThread();
    thread->post(task([&ran] { ran = std::this_thread::get_id(); }));
    thread->flush();
    EXPECT_NE(ran, std::thread::id());
    EXPECT_NE(ran, std::this_thread::get_id());
}

TEST(CallbackThread, MayBeDestroyedWhileTheCallbackRunsThatHasStoppedIt) {
    std::promise<void> stopped;
    std::promise<void> release;
    std::promise<void> over;
    auto thread = startedThread();
    thread->post(task([&] {
        thread->stop();
        stopped.set_value();
        release.get_future().wait();
        over.set_value();
    }));
    stopped.get_future().wait();
    thread.reset(); // the callback waits for this thread
    release.set_value();
    over.get_future().wait();
}

TEST(CallbackThread, StopDropsWhatWaitsAndRunsTheLastTask) {
    std::promise<void> started;
    std::promise<void> release;
    std::atomic<int> dropped{0};
    std::atomic<bool> last{false};
    const auto thread = startedThread();
    thread->post(task([&] {
        started.set_value();
        release.get_future().wait();
    }));
    thread->post(task([&dropped] { ++dropped; }));
    started.get_future().wait();
    std::thread stopper([&] { thread->stop(task([&last] { last = true; })); });
    while (true) {
        // stop() has taken effect when later tasks are refused: they would keep the promise below alive.
        auto marker = std::make_shared<int>(0);
        const std::weak_ptr<int> kept = marker;
        thread->post(task([marker] {}));
        marker.reset();
        if (kept.expired())
            break;
    }
    EXPECT_FALSE(last);
    release.set_value();
    stopper.join();
    EXPECT_TRUE(last);
    EXPECT_EQ(dropped, 0);
}

TEST(CallbackThread, NothingRunsAfterStop) {
    std::atomic<int> runs{0};
    const auto thread = startedThread();
    thread->stop();
    thread->post(task([&runs] { ++runs; }));
    thread->stop(task([&runs] { ++runs; }));
    EXPECT_EQ(runs, 0);
}

TEST(CallbackThread, StopInsideACallbackRunsTheLastTaskAtOnce) {
    std::promise<bool> lastRanBeforeReturn;
    const auto thread = startedThread();
    thread->post(task([&] {
        bool ran = false;
        thread->stop(task([&ran] { ran = true; }));
        lastRanBeforeReturn.set_value(ran);
    }));
    EXPECT_TRUE(lastRanBeforeReturn.get_future().get());
}

TEST(CallbackThread, MayBeDestroyedByItsOwnCallback) {
    auto thread = startedThread();
    CallbackThread* raw = thread.get();
    std::promise<void> done;
    raw->post(task([&thread, &done] {
        thread.reset();
        done.set_value();
    }));
    done.get_future().wait();
}

TEST(CallbackThread, ACallbackThatThrowsDoesNotEndTheThread) {
    std::atomic<bool> ran{false};
    const auto thread = startedThread();
    thread->post(task([] { throw std::runtime_error("from the application"); }));
    thread->post(task([] { throw 42; }));
    thread->post(task([&ran] { ran = true; }));
    thread->flush();
    EXPECT_TRUE(ran);
}

TEST(CallbackThread, IsEndedOnceByACallbackAndAnotherThreadAtATime) {
    for (int i = 0; i < 200; ++i) {
        std::atomic<int> last{0};
        std::atomic<bool> returned{false};
        std::promise<void> inside;
        const auto thread = startedThread();
        thread->post(task([&] {
            inside.set_value();
            thread->stop(task([&last] { ++last; }));
            returned = true;
        }));
        inside.get_future().wait();
        thread->stop(task([&last] { ++last; }));
        EXPECT_TRUE(returned) << "nothing runs any more";
        EXPECT_EQ(last, 1);
    }
}

TEST(CallbackThread, WhatIsDroppedMayHoldTheThreadItself) {
    std::shared_ptr<CallbackThread> thread = startedThread();
    std::promise<void> inside;
    std::promise<void> release;
    thread->post(task([&] {
        inside.set_value();
        release.get_future().wait();
    }));
    thread->post(task([thread] {}));
    const std::weak_ptr<CallbackThread> kept = thread;
    inside.get_future().wait();
    std::thread stopper([&thread] {
        thread->stop();
        thread.reset();
    });
    release.set_value();
    stopper.join();
    EXPECT_TRUE(kept.expired());
}

volatile sig_atomic_t handlerRuns = 0;

TEST(CallbackThread, RunsNoSignalHandlerOfTheApplication) {
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) { handlerRuns = handlerRuns + 1; };
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    sigset_t blocked;
    const auto thread = startedThread();
    thread->post(task([&blocked] { pthread_sigmask(SIG_SETMASK, nullptr, &blocked); }));
    thread->flush();
    for (const int signal : {SIGUSR1, SIGALRM, SIGTERM, SIGCHLD, SIGPIPE})
        EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
    raise(SIGUSR1);
    EXPECT_EQ(handlerRuns, 1) << "the caller's own mask is as before";
    sigaction(SIGUSR1, &before, nullptr);
}

TEST(CallbackThread, TellsWhenNoThreadCanBeStarted) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_getattr_default_np(&attributes), 0);
    pthread_attr_t tooLarge;
    pthread_attr_init(&tooLarge);
    // More than the address space has.
    ASSERT_EQ(pthread_attr_setstacksize(&tooLarge, std::size_t{1} << 60), 0);
    ASSERT_EQ(pthread_setattr_default_np(&tooLarge), 0);
    UaStatus status;
    EXPECT_EQ(CallbackThread::start(status), nullptr);
    EXPECT_TRUE(status.isBad());
    ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
    EXPECT_NE(CallbackThread::start(status), nullptr);
    EXPECT_TRUE(status.isGood()) << "an earlier failure is forgotten";
}

} // namespace
