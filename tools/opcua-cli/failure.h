#pragma once

#include "exit_code.h"

#include <exception>
#include <string>
#include <utility>

namespace opcua_cli {

/// What went wrong, in words for the user.
struct Problem {
    std::string explanation{};
    std::string advice{};        ///< what to try next; empty when there is nothing to say
    int resultCode = 0;          ///< the library's; 0 when it was not the library that refused
    std::string storedMessage{}; ///< the library's own text; empty when it stores none for the code
};

/// Ends a command.
class Failure : public std::exception {
public:
    Failure(ExitCode exitCode, Problem problem) : m_exitCode(exitCode), m_problem(std::move(problem)) {}

    ExitCode exitCode() const { return m_exitCode; }
    const Problem& problem() const { return m_problem; }
    const char* what() const noexcept override { return m_problem.explanation.c_str(); }

private:
    ExitCode m_exitCode;
    Problem m_problem;
};

inline Failure usageFailure(std::string explanation, std::string advice = {}) {
    return {ExitCode::Usage, {std::move(explanation), std::move(advice)}};
}

} // namespace opcua_cli
