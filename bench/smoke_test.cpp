#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/child_process.h"

namespace {

using test_support::ProgramResult;
using test_support::runProgram;

/// The names of all operations, as Google Benchmark lists them without what it appends.
std::vector<std::string> operationNames() {
    const ProgramResult listed = runProgram(BENCH_PROGRAM, {"--benchmark_list_tests=true"});
    std::vector<std::string> names;
    std::istringstream lines(listed.standardOutput);
    for (std::string line; std::getline(lines, line);)
        names.push_back(line.substr(0, line.find("/iterations:")));
    return names;
}

TEST(BenchSmoke, EveryOperationRunsAndShowsItsRow) {
    const std::vector<std::string> names = operationNames();
    ASSERT_GE(names.size(), 10U);
    const ProgramResult run = runProgram(BENCH_PROGRAM, {"--smoke"}, std::chrono::seconds(100));
    EXPECT_EQ(run.end.exitCode, 0) << run.standardOutput << run.standardError;
    for (const std::string& name : names) {
        EXPECT_NE(run.standardOutput.find("\n" + name + "  "), std::string::npos)
            << "no row \"" << name << "\" in\n"
            << run.standardOutput;
    }
    EXPECT_EQ(run.standardOutput.find("FAILED"), std::string::npos) << run.standardOutput;
}

TEST(BenchSmoke, AnUnknownOptionIsRefused) {
    EXPECT_EQ(runProgram(BENCH_PROGRAM, {"--no-such-option"}).end.exitCode, 2);
}

TEST(BenchSmoke, TheSoakRuns) {
    const ProgramResult run = runProgram(SOAK_PROGRAM, {"--smoke"}, std::chrono::seconds(100));
    EXPECT_EQ(run.end.exitCode, 0) << run.standardOutput << run.standardError;
    EXPECT_NE(run.standardOutput.find("\nthreads: "), std::string::npos) << run.standardOutput;
    EXPECT_EQ(runProgram(SOAK_PROGRAM, {"never"}).end.exitCode, 2);
}

} // namespace
