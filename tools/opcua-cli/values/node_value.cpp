#include "values/node_value.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "addressing/node_info.h"
#include "failure.h"

namespace opcua_cli {
namespace {

constexpr const char* arrayAdvice = "the elements as nested JSON arrays, such as [1, 2] or [[1, 2], [3, 4]], "
                                    "as many as the node has: a length cannot be changed";

[[noreturn]] void refuseArray(_OpcUaDataType type, const Shape& shape, const std::string& reason) {
    throw usageFailure("this is no value for a node of type " + std::string(typeName(type)) +
                           indexText(shape) + ": " + reason,
                       arrayAdvice);
}

Value parseJsonValue(_OpcUaDataType type, const Json& json) {
    if (json.is_string())
        return parseValue(type, json.get<std::string>());
    if (type == OpcUaDataType_String || !(json.is_number() || json.is_boolean()))
        throw usageFailure("a JSON " + std::string(json.type_name()) + " is no value for a node of type " +
                               std::string(typeName(type)),
                           type == OpcUaDataType_String ? "a text in quotes"
                                                        : "a number, true, false or text");
    return parseValue(type, json.dump());
}

class ArrayParser {
public:
    ArrayParser(_OpcUaDataType type, const Shape& shape) : m_type(type), m_shape(shape) {}

    std::vector<Value> parse(const Json& json) {
        const bool empty = elementCount(m_shape) == 0 && json.is_array() && json.empty();
        if (!empty)
            take(json, 0);
        return std::move(m_elements);
    }

private:
    void take(const Json& json, std::size_t dimension) {
        if (dimension == m_shape.size()) {
            m_elements.push_back(parseJsonValue(m_type, json));
            return;
        }
        if (!json.is_array())
            refuseArray(m_type, m_shape,
                        "there is a JSON " + std::string(json.type_name()) + " where an array should be");
        if (json.size() != m_shape[dimension])
            refuseArray(m_type, m_shape,
                        "there are " + std::to_string(json.size()) + " elements where " +
                            std::to_string(m_shape[dimension]) + " should be");
        for (const Json& element : json)
            take(element, dimension + 1);
    }

    _OpcUaDataType m_type;
    const Shape& m_shape;
    std::vector<Value> m_elements;
};

Json jsonIn(const std::string& text, _OpcUaDataType type, const Shape& shape) {
    Json json = Json::parse(text, nullptr, false);
    if (json.is_discarded())
        refuseArray(type, shape, "it is no JSON");
    return json;
}

/// The elements of a dimension as a list, and so on inwards.
template <typename OfElement, typename OfList>
auto nested(const NodeValue& value, std::size_t dimension, std::size_t& next, const OfElement& ofElement,
            const OfList& ofList) {
    std::vector<decltype(ofElement(Value()))> list;
    if (!value.elements.empty() && dimension == value.shape.size())
        return ofElement(value.elements[next++]);
    for (unsigned long i = 0; !value.elements.empty() && i < value.shape[dimension]; ++i)
        list.push_back(nested(value, dimension + 1, next, ofElement, ofList));
    return ofList(std::move(list));
}

template <typename OfElement, typename OfList>
auto inForm(const NodeValue& value, const OfElement& ofElement, const OfList& ofList) {
    std::size_t next = 0;
    const bool isNothing = value.shape.empty() && value.elements.empty();
    return isNothing ? ofElement(Value()) : nested(value, 0, next, ofElement, ofList);
}

} // namespace

bool isWholeArray(const GivenValue& given) {
    const auto* json = std::get_if<std::shared_ptr<const Json>>(&given);
    return json != nullptr && (*json)->is_array();
}

NodeValue parseNodeValue(_OpcUaDataType type, const Shape& shape, const GivenValue& given) {
    const auto* text = std::get_if<std::string>(&given);
    const auto* json = std::get_if<std::shared_ptr<const Json>>(&given);
    if (shape.empty())
        return NodeValue(text != nullptr ? parseValue(type, *text) : parseJsonValue(type, **json));
    ArrayParser parser(type, shape);
    return {shape, parser.parse(text != nullptr ? jsonIn(*text, type, shape) : **json)};
}

bool isSame(const NodeValue& one, const NodeValue& other) {
    return one.shape == other.shape &&
           std::equal(one.elements.begin(), one.elements.end(), other.elements.begin(), other.elements.end(),
                      [](const Value& a, const Value& b) { return isSame(a, b); });
}

std::string toText(const NodeValue& value) {
    return inForm(
        value, [](const Value& element) { return toText(element); },
        [](const std::vector<std::string>& list) {
            std::string text;
            for (const std::string& element : list)
                text += (text.empty() ? "" : ", ") + element;
            return "[" + text + "]";
        });
}

Json toJson(const NodeValue& value) {
    return inForm(
        value, [](const Value& element) { return toJson(element); },
        [](std::vector<Json> list) { return Json(std::move(list)); });
}

} // namespace opcua_cli
