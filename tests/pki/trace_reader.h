#pragma once

#include <string>

#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "uabase/trace.h"

/// A trace into a file of its own, for as long as it lives.
class Trace {
public:
    explicit Trace(UaTrace::TraceLevel level) {
        UaTrace::initTrace(level, 1000, 1, UaString(m_file.c_str()), "test");
    }
    ~Trace() { UaTrace::closeTrace(); }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    std::string text() const { return test_support::contentOf(m_file); }

private:
    test_support::TemporaryDirectory m_directory;
    const std::string m_file = (m_directory.path() / "trace.log").string();
};
