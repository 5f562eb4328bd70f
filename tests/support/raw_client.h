#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <open62541/client.h>
#include <open62541/types_generated.h>

namespace test_support {

/// The stack's description of a C++ type, for the types that tests read and write.
template <class T>
const UA_DataType* dataType();

/// A value as a read gave it.
class ReadValue {
public:
    explicit ReadValue(const UA_DataValue& value) : m_value(value) {}
    ReadValue(ReadValue&& other) noexcept : m_value(other.m_value) { UA_DataValue_init(&other.m_value); }
    ReadValue& operator=(ReadValue other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~ReadValue() { UA_DataValue_clear(&m_value); }

    UA_StatusCode status() const { return m_value.hasStatus ? m_value.status : UA_STATUSCODE_GOOD; }
    const UA_Variant& variant() const { return m_value.value; }
    std::vector<UA_UInt32> dimensions() const;
    std::size_t elements() const;

    /// The scalar, or the element at this position. Throws std::runtime_error when the value has no such
    /// thing of this type, and tells what it has.
    template <class T>
    T get(std::size_t position = 0) const {
        return *static_cast<const T*>(content(dataType<T>(), position));
    }
    std::string text(std::size_t position = 0) const;

private:
    const void* content(const UA_DataType* type, std::size_t position) const;

    UA_DataValue m_value;
};

/// What a browse answer says of one node.
struct Reference {
    std::string nodeId;
    std::string browseName;
    std::string displayName;
    std::string locale;
    UA_NodeClass nodeClass;
};

/// All children, and in how many answers they came.
struct BrowseAnswers {
    UA_StatusCode status;
    unsigned answers;
    std::vector<Reference> references;

    /// Null when there is none of this name.
    const Reference* find(const std::string& browseName) const;
};

/// The stack's client without anything of this project in between: the judge of what a server holds,
/// independent of the client under test. Node ids are texts such as "ns=2;s=Line1.Speed".
class RawClient {
public:
    RawClient();
    /// Connected as anonymous user. Throws std::runtime_error when that fails.
    explicit RawClient(const std::string& url);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    UA_StatusCode connect(const std::string& url);
    UA_StatusCode connect(const std::string& url, const std::string& user, const std::string& password);
    void disconnect();
    /// For what this class lacks. Ask for it anew before each call.
    UA_Client* get() const;

    ReadValue read(const std::string& nodeId, UA_AttributeId attribute = UA_ATTRIBUTEID_VALUE);
    /// In one request. When the service fails, each value has the service's status.
    std::vector<ReadValue> readAll(const std::vector<std::string>& nodeIds,
                                   UA_AttributeId attribute = UA_ATTRIBUTEID_VALUE);
    template <class T>
    T value(const std::string& nodeId) {
        return read(nodeId).get<T>();
    }

    /// Writes the value alone, without status and time.
    UA_StatusCode write(const std::string& nodeId, const UA_Variant& value);
    template <class T>
    UA_StatusCode write(const std::string& nodeId, T value) {
        UA_Variant variant;
        UA_Variant_setScalar(&variant, &value, dataType<T>());
        return write(nodeId, variant);
    }
    UA_StatusCode writeText(const std::string& nodeId, const std::string& text);

    /// Everything that hierarchical references lead to, page by page.
    BrowseAnswers browse(const std::string& nodeId);

private:
    UA_Client* m_client;
};

/// Calls `condition` until it holds. False when the time is over first.
bool waitUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds limit = std::chrono::seconds(60));

} // namespace test_support
