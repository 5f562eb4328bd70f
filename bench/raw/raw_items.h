#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "changes/change_sink.h"
#include "raw/raw_client.h"
#include "surroundings/tags.h"

namespace bench {

/// A raw client's subscription with monitored items, with the library's parameters and in its batches.
class RawItems {
public:
    RawItems(const std::string& url, double publishingInterval, ChangeSink& sink);
    ~RawItems();
    RawItems(const RawItems&) = delete;
    RawItems& operator=(const RawItems&) = delete;

    void add(const std::vector<UA_NodeId>& nodes);
    RawClient& client() { return m_client; }

private:
    void addBatch(const UA_NodeId* nodes, std::size_t count);

    RawClient m_client;
    ChangeSink& m_sink;
    UA_UInt32 m_id = 0;
};

/// Node ids that the engine can send as they are.
class RawNodeIds {
public:
    explicit RawNodeIds(const std::vector<Tag>& nodes);
    ~RawNodeIds();
    RawNodeIds(const RawNodeIds&) = delete;
    RawNodeIds& operator=(const RawNodeIds&) = delete;

    const std::vector<UA_NodeId>& ids() const { return m_ids; }

private:
    std::vector<UA_NodeId> m_ids;
};

} // namespace bench
