#pragma once

#include <algorithm>

/// Records of one service call at the most.
constexpr int batchSize = 20;

/// Records that one service call is about.
template <typename Record>
struct Batch {
    Record* records = nullptr;
    int count = 0;
    int following = 0; ///< records of the array behind these
};

/// Cuts an array into batches, in order.
template <typename Record>
class Batches {
public:
    Batches(Record* records, int count) : m_batch{records, 0, count} {}

    /// False behind the last one.
    bool next() {
        m_batch.records += m_batch.count;
        m_batch.count = std::min(m_batch.following, batchSize);
        m_batch.following -= m_batch.count;
        return m_batch.count > 0;
    }
    const Batch<Record>& current() const { return m_batch; }

private:
    Batch<Record> m_batch;
};
