#pragma once

#include <cstddef>
#include <functional>
#include <numeric>
#include <utility>
#include <vector>

#include "nodes/built_in_types.h"
#include "nodes/node_id.h"
#include "nodes/status.h"

namespace plant_server {

/// A variant that owns its content.
class Value {
public:
    using Dimensions = std::vector<UA_UInt32>;

    /// The empty value.
    Value() { UA_Variant_init(&m_variant); }
    Value(Value&& other) noexcept : m_variant(other.m_variant) { UA_Variant_init(&other.m_variant); }
    Value& operator=(Value other) noexcept {
        std::swap(m_variant, other.m_variant);
        return *this;
    }
    Value(const Value& other) { require(UA_Variant_copy(&other.m_variant, &m_variant), "copy a value"); }
    ~Value() { UA_Variant_clear(&m_variant); }

    /// A scalar of any type; the content is copied.
    static Value of(const void* scalar, const UA_DataType* type) {
        Value value;
        require(UA_Variant_setScalarCopy(&value.m_variant, scalar, type), "make a value");
        return value;
    }
    template <class T>
    static Value scalar(const T& content) {
        return of(&content, BuiltInType<T>::description());
    }
    static Value scalar(const std::string& content) { return scalar(view(content)); }
    static Value scalar(const char* content) { return scalar(view(content)); }

    /// An array of `count` copied elements of any type.
    static Value arrayOf(const void* elements, std::size_t count, const UA_DataType* type) {
        Value value;
        require(UA_Variant_setArrayCopy(&value.m_variant, elements, count, type), "make an array");
        return value;
    }

    /// The demonstration array or matrix of these lengths; see element().
    template <class T>
    static Value demonstration(const Dimensions& dimensions) {
        const std::size_t count =
            std::accumulate(dimensions.begin(), dimensions.end(), std::size_t{1}, std::multiplies<>());
        Value value = elements<T>(count);
        if (dimensions.size() > 1)
            value.setDimensions(dimensions);
        return value;
    }

    /// Strings as an array.
    static Value strings(const std::vector<std::string>& texts) {
        std::vector<UA_String> views;
        for (const std::string& entry : texts)
            views.push_back(view(entry));
        return arrayOf(views.data(), views.size(), &UA_TYPES[UA_TYPES_STRING]);
    }

    const UA_Variant& get() const { return m_variant; }
    UA_Variant& get() { return m_variant; }

    /// OPC UA Part 3, 5.6.2: -1 for a scalar, otherwise the number of dimensions.
    UA_Int32 rank() const {
        if (m_variant.arrayDimensionsSize > 0)
            return static_cast<UA_Int32>(m_variant.arrayDimensionsSize);
        return m_variant.type != nullptr && !UA_Variant_isScalar(&m_variant) ? UA_VALUERANK_ONE_DIMENSION
                                                                             : UA_VALUERANK_SCALAR;
    }

    void setDimensions(const Dimensions& dimensions) {
        require(UA_Array_copy(dimensions.data(), dimensions.size(),
                              reinterpret_cast<void**>(&m_variant.arrayDimensions),
                              &UA_TYPES[UA_TYPES_UINT32]),
                "make a matrix");
        m_variant.arrayDimensionsSize = dimensions.size();
    }

private:
    template <class T>
    static Value elements(std::size_t count) {
        if constexpr (std::is_same_v<T, UA_String>) {
            std::vector<std::string> texts;
            for (std::size_t k = 0; k < count; ++k)
                texts.push_back(element<T>(k));
            return strings(texts);
        } else {
            // Not a vector: that of bool has no elements to copy from.
            Value value;
            value.m_variant.type = BuiltInType<T>::description();
            value.m_variant.arrayLength = count;
            T* data = static_cast<T*>(UA_Array_new(count, value.m_variant.type));
            for (std::size_t k = 0; k < count; ++k)
                data[k] = element<T>(k);
            value.m_variant.data = data;
            return value;
        }
    }

    UA_Variant m_variant;
};

} // namespace plant_server
