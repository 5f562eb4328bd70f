#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "operations/operation.h"

namespace bench {

/// Shows every operation as one row with its verdict.
class Table : public benchmark::BenchmarkReporter {
public:
    explicit Table(const Operations& operations) : m_operations(operations) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    std::size_t missedBounds() const { return m_missed; }
    std::size_t failures() const { return m_failures; }

private:
    void printRow(const Run& run);
    std::string verdict(const Operation& operation, const benchmark::UserCounters& figures);

    const Operations& m_operations;
    std::size_t m_missed = 0;
    std::size_t m_failures = 0;
};

} // namespace bench
