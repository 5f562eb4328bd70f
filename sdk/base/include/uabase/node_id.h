#pragma once

#include <string_view>
#include <utility>

#include "uabase/string.h"
#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// OPC UA Part 3, 8.2: an owned NodeId. A value class.
class UASDK_EXPORT UaNodeId {
public:
    /// The null NodeId (ns=0;i=0).
    UaNodeId() noexcept : m_id() {}
    UaNodeId(OpcUa_UInt32 identifier, OpcUa_UInt16 namespaceIndex = 0);
    explicit UaNodeId(const OpcUa_NodeId& id);
    UaNodeId(const UaNodeId& other);
    UaNodeId(UaNodeId&& other) noexcept
        : m_id(std::exchange(other.m_id, {})), m_isView(std::exchange(other.m_isView, false)) {}
    UaNodeId& operator=(const UaNodeId& other);
    UaNodeId& operator=(UaNodeId&& other) noexcept {
        if (this != &other) {
            release();
            m_id = std::exchange(other.m_id, {});
            m_isView = std::exchange(other.m_isView, false);
        }
        return *this;
    }
    ~UaNodeId() { release(); }

    /// OPC UA Part 6, 5.3.1.10: "[ns=<index>;]<type>=<value>" with the types i, s, g and b. Any other text
    /// gives the null NodeId.
    static UaNodeId fromXmlString(const UaString& text);
    /// The same, but the characters of a string identifier stay where they lie: valid while `text` is. A copy
    /// owns what it holds.
    static UaNodeId borrow(std::string_view text);
    /// The same form back; "ns=0;" is left out.
    UaString toXmlString() const;

    /// Makes `*target` a deep copy that the caller clears. What `*target` held is not freed.
    void copyTo(OpcUa_NodeId* target) const;

    bool isNull() const;
    const OpcUa_NodeId& raw() const { return m_id; }

    UASDK_EXPORT friend bool operator==(const UaNodeId& a, const UaNodeId& b);
    friend bool operator!=(const UaNodeId& a, const UaNodeId& b) { return !(a == b); }

private:
    void release() {
        if (m_id.identifierType != UA_NODEIDTYPE_NUMERIC && !m_isView)
            clear();
    }
    void clear();

    OpcUa_NodeId m_id;
    bool m_isView = false; ///< the identifier's characters belong to somebody else
};
