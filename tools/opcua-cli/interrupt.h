#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace opcua_cli {

/// From now on the first Ctrl-C (SIGINT), SIGTERM or hang-up asks the running command to end in good order,
/// so that no session stays on the server. A command that has not ended after two seconds, because it waits
/// for a server that does not answer, is ended with the program, which says so; what is being written then
/// (Writing) has longer. A second signal ends it at once.
void watchForInterrupt();

/// Throws Failure (Interrupted, Terminated or HungUp) once such a signal came. Long jobs call it between two
/// services.
void throwIfInterrupted();

bool isInterrupted();

/// The Ctrl-C that came is dealt with: the next one counts as a first one.
void forgetInterrupt();

/// Becomes readable with the first signal, and stays so until forgetInterrupt(): for who waits in poll().
int interruptDescriptor();

/// Waits so long, or until such a signal comes, and throws then.
void pauseFor(std::chrono::milliseconds time);

/// A thread that no signal of the program interrupts.
std::thread startThreadWithoutSignals(const std::function<void()>& work);

/// As long as it lives, something is written that would be lost, and that a disk or another program may hold
/// up: a command that was asked to end has fifteen seconds more for it.
class Writing {
public:
    Writing();
    ~Writing();
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;
};

/// What is done before the program ends in the middle of a command, to leave a terminal as it was; null for
/// nothing. It may run in a signal handler.
void setLastAct(void (*act)());
/// What is written to standard output then, to leave a document complete; null for nothing. The text must
/// live on.
void setLastWords(const char* text);

/// Sets them until it goes.
class LastWords {
public:
    explicit LastWords(const char* text) { setLastWords(text); }
    ~LastWords() { setLastWords(nullptr); }
    LastWords(const LastWords&) = delete;
    LastWords& operator=(const LastWords&) = delete;
};

} // namespace opcua_cli
