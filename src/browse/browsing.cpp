#include <cstddef>
#include <string_view>

#include "browse/data_type.h"
#include "browse/node_links.h"
#include "client/node_record.h"
#include "client/opcua_client.h"
#include "client/text_field.h"
#include "uabase/qualified_name.h"
#include "uabase/trace.h"
#include "uastack/wire_number.h"
#include "values/value_service.h"

using namespace UaClientSdk;

namespace {

constexpr int objectClass = 1;

/// A root that stands for no reference of the server's.
OpcUaNode* makeRoot(std::string_view name, const UaNodeId& id, int nodeClass) {
    const UaString nodeId = id.toXmlString();
    auto* root = new OpcUaNode{};
    root->nodeClass = nodeClass;
    setField(root->locale, "CH");
    setField(root->displayName, name);
    setField(root->browseName, name);
    setField(root->nodeId, viewOf(nodeId));
    return root;
}

/// The highest of the eight node classes whose bit is set (OPC UA Part 3, 5.2.3); 0 when none is.
int nodeClassOf(const OpcUa_ReferenceDescription& reference) {
    int nodeClass = 0;
    for (int bit = 1; bit <= 128; bit *= 2)
        if ((wireNumber(reference.nodeClass) & bit) != 0)
            nodeClass = bit;
    return nodeClass;
}

BrowseContext childrenContext() {
    BrowseContext context;
    context.browseDirection = OpcUa_BrowseDirection_Forward;
    context.referenceTypeId = UaNodeId(OpcUaId_HierarchicalReferences);
    context.includeSubtypes = true;
    context.nodeClassMask = 0;
    context.resultMask = 0x3F;
    context.maxReferencesToReturn = 0;
    return context;
}

/// Hangs new records under a parent without walking the siblings again for each.
class ChildAppender {
public:
    explicit ChildAppender(OpcUaNode* parent)
        : m_parent(parent), m_last(parent->child != nullptr ? lastSibling(parent->child) : nullptr) {}

    void append(OpcUaNode* child) {
        child->parent = m_parent;
        (m_last != nullptr ? m_last->next : m_parent->child) = child;
        m_last = child;
    }

private:
    OpcUaNode* m_parent;
    OpcUaNode* m_last;
};

/// What one browse may bring: the pages come from a server, which can make them without end.
class BrowseBounds {
public:
    /// Counts a page. Tells why it is one too many, null when it may be taken.
    const char* excess(std::size_t children, bool morePages) {
        m_children += children;
        m_emptyPages = children == 0 ? m_emptyPages + 1 : 0;
        if (m_children > maximumChildren)
            return "more than 250000 children";
        return morePages && m_emptyPages >= maximumEmptyPages ? "ten empty pages in a row" : nullptr;
    }

private:
    static constexpr std::size_t maximumChildren = 250000;
    static constexpr int maximumEmptyPages = 10;

    std::size_t m_children = 0;
    int m_emptyPages = 0;
};

/// Gives up the rest of an answer: the browse has failed whatever the server says to that.
void abandonRest(UaSession& session, ServiceSettings& settings, UaByteString& continuationPoint) {
    if (continuationPoint.length() > 0) {
        UaReferenceDescriptions none;
        session.browseNext(settings, true, continuationPoint, none);
    }
}

/// Types and shapes of a page's children are read without waiting for each: `link` takes the answers, in
/// order, until it returns false.
template <typename Link>
bool readTypes(UaSession& session, const UaReferenceDescriptions& references, Link link) {
    OpcUa_UInt32 asked = 0;
    OpcUa_UInt32 linked = 0;
    ReadSequence reads;
    reads.next = [&](UaReadValueIds& nodes) {
        if (asked == references.length())
            return false;
        nodes.create(1);
        addressValue(nodes[0], UaNodeId(references[asked].nodeId.nodeId));
        ++asked;
        return true;
    };
    reads.answered = [&](UaStatus status, UaDataValues& values) {
        const bool good = link(references[linked], checked(status, values, 1), values);
        linked += good ? 1 : 0;
        return good;
    };
    readValues(session, reads);
    return linked == references.length();
}

OpcUaNode* makeChild(const OpcUa_ReferenceDescription& reference, const UaString& nodeId,
                     _OpcUaDataType dataType, const _ArrayType& shape) {
    const UaString browseName = UaQualifiedName(reference.browseName).toString();
    auto* child = new OpcUaNode{};
    child->dataType = dataType;
    child->arrayInfo = shape;
    child->nodeClass = nodeClassOf(reference);
    setField(child->locale, viewOf(reference.displayName.locale));
    setField(child->displayName, viewOf(reference.displayName.text));
    setField(child->browseName, viewOf(browseName));
    setField(child->nodeId, viewOf(nodeId));
    if (fieldText(child->nodeId) != viewOf(nodeId)) {
        UaTrace::write(UaTrace::Warnings, "browse",
                       "the record of %.*s names another node or none: the server's id of %zu bytes does not "
                       "fit into it",
                       static_cast<int>(sizeof child->nodeId), child->nodeId, viewOf(nodeId).size());
    }
    return child;
}

} // namespace

int COpcUaClient::OpcUaBrowse(OpcUaNode* node) {
    const MutexLock lock(m_session.mutex);
    const bool hasSession = m_session.get() != nullptr;
    if (node == nullptr || !hasSession)
        m_nodes.deleteMemory(&m_nodes.root);
    if (!hasSession)
        return m_error.fail(result::notConnected);
    UaNodeId id(OpcUaId_RootFolder);
    if (node != nullptr && !SetNodeID(node, &id))
        return m_error.fail(result::nodeIdInvalid);
    OpcUaNode* parent = node;
    OpcUaNode* found = nullptr;
    if (node != nullptr && m_nodes.root != nullptr) {
        m_nodes.findNode(node, m_nodes.root, &found);
        if (found == nullptr)
            return m_error.fail(result::nodeNotBrowsed);
        if (node != found) {
            // It may be a looked-up record.
            m_lookup.invalidate();
        }
        m_nodes.deleteMemory(&node->child);
    } else {
        m_nodes.root = node != nullptr ? makeRoot("Self_Root", id, 0) : makeRoot("Root", id, objectClass);
        parent = m_nodes.root;
        found = parent;
    }
    return browseInternal(id, parent, found) ? result::success : m_error.fail(result::browseFailed);
}

OpcUaNode* COpcUaClient::OpcUaReadRootNode() {
    return m_nodes.root;
}

bool COpcUaClient::browseInternal(const UaNodeId& start, OpcUaNode* parent, OpcUaNode*) {
    const auto session = m_session.get();
    if (!session)
        return false;
    ServiceSettings settings;
    UaByteString continuationPoint;
    UaReferenceDescriptions references;
    ChildAppender children(parent);
    const auto link = [&](const OpcUa_ReferenceDescription& reference, UaStatus status,
                          UaDataValues& values) {
        _OpcUaDataType dataType = OpcUaDataType_Null;
        _ArrayType shape{};
        if (!decodeDataType(status, values, dataType, shape, m_error))
            return false;
        const UaNodeId id(reference.nodeId.nodeId);
        children.append(makeChild(reference, id.toXmlString(), dataType, shape));
        return true;
    };
    BrowseBounds bounds;
    UaStatus status = session->browse(settings, start, childrenContext(), continuationPoint, references);
    while (!status.isBad()) {
        const bool morePages = continuationPoint.length() > 0;
        if (const char* excess = bounds.excess(references.length(), morePages)) {
            UaTrace::write(UaTrace::Warnings, "browse", "browsing %s is given up: the server gives %s",
                           start.toXmlString().toUtf8(), excess);
            abandonRest(*session, settings, continuationPoint);
            return false;
        }
        if (!readTypes(*session, references, link)) {
            abandonRest(*session, settings, continuationPoint);
            return false;
        }
        if (!morePages)
            return true;
        status = session->browseNext(settings, false, continuationPoint, references);
    }
    return false;
}

bool COpcUaClient::ContinueBrowse(OpcUaNode*, OpcUaNode*) {
    return true;
}

bool COpcUaClient::SetNodeID(OpcUaNode* node, UaNodeId* out) {
    *out = nodeIdOf(*node);
    return true;
}
