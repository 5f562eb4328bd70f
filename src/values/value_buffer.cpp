#include "values/value_buffer.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

#include "client/text_field.h"
#include "values/value_types.h"

namespace {

/// `size` becomes the number's width.
template <typename Cell>
void encodeNumber(Cell cell, void* buffer, int& size) {
    std::memcpy(buffer, &cell, sizeof cell);
    size = sizeof cell;
}

/// A number of at most `size` bytes; missing bytes are 0, and a greater `size` is cut to the width.
template <typename Cell>
Cell decodeNumber(const void* buffer, int& size) {
    size = std::min(size, static_cast<int>(sizeof(Cell)));
    Cell cell{};
    std::memcpy(&cell, buffer, static_cast<std::size_t>(std::max(size, 0)));
    return cell;
}

struct ValueEncoder {
    const UaVariant& value;
    void* buffer;
    int& size;

    template <typename Number>
    void operator()(Number) const {
        encodeNumber(Number::get(value), buffer, size);
    }
    void operator()(StringType) const {
        // A text is taken from where it lies; only what must be converted first is copied.
        if (value.type() == OpcUaType_String)
            encodeText(viewOf(value.text()), buffer, size);
        else
            encodeText(viewOf(value.toString()), buffer, size);
    }
    void operator()(NullType) const { size = 0; }
    void operator()(UnknownType) const {}
};

struct ValueDecoder {
    UaVariant& value;
    const void* buffer;
    int& size;

    template <typename Number>
    bool operator()(Number) const {
        Number::set(value, decodeNumber<typename Number::Cell>(buffer, size));
        return true;
    }
    bool operator()(StringType) const {
        value.setString(UaString(static_cast<const char*>(buffer)));
        return true;
    }
    bool operator()(NullType) const { return false; }
    bool operator()(UnknownType) const { return false; }
};

struct ElementEncoder {
    UaVariant& value;
    unsigned int position;
    void* buffer;
    int& size;

    template <typename Number>
    bool operator()(Number) const {
        typename Number::Array elements;
        Number::toArray(std::move(value), elements);
        if (position >= elements.length())
            return false;
        encodeNumber(elements[position], buffer, size);
        return true;
    }
    bool operator()(StringType) const {
        UaStringArray elements;
        StringType::toArray(std::move(value), elements);
        if (position >= elements.length())
            return false;
        encodeText(viewOf(elements[position]), buffer, size);
        return true;
    }
    bool operator()(NullType) const {
        size = 0;
        return true;
    }
    bool operator()(UnknownType) const { return true; }
};

struct ElementDecoder {
    UaVariant& value;
    unsigned int position;
    const void* buffer;
    int& size;

    template <typename Number>
    bool operator()(Number) const {
        const auto cell = decodeNumber<typename Number::Cell>(buffer, size);
        return replace<Number>(static_cast<typename Number::Element>(cell));
    }
    bool operator()(StringType) const {
        const UaString text(static_cast<const char*>(buffer));
        return replace<StringType>(text.view());
    }
    bool operator()(NullType) const { return empty(); }
    bool operator()(UnknownType) const { return empty(); }

private:
    bool hasElement() const {
        return position < (value.isMatrix() ? value.noOfMatrixElements() : value.arraySize());
    }
    bool empty() const {
        const bool found = hasElement();
        value.clear();
        return found;
    }

    template <typename Type>
    bool replace(const typename Type::Element& element) const {
        if (!hasElement())
            return false;
        typename Type::Array elements;
        if (!value.isMatrix()) {
            if (Type::toArray(std::move(value), elements) != OpcUa_Good)
                return false;
            elements.replace(position, element);
            Type::setArray(value, std::move(elements));
            return true;
        }
        UaUInt32Array dimensions;
        if (Type::toMatrix(std::move(value), elements, dimensions) != OpcUa_Good)
            return false;
        elements.replace(position, element);
        return Type::setMatrix(value, std::move(elements), std::move(dimensions)) == OpcUa_Good;
    }
};

} // namespace

void encodeText(std::string_view text, void* buffer, int& size) {
    const auto capacity = static_cast<std::size_t>(std::max(size, 0));
    auto* const end = std::copy_n(text.data(), std::min(text.size(), capacity), static_cast<char*>(buffer));
    if (text.size() < capacity) {
        *end = '\0';
        size = static_cast<int>(text.size());
    } else {
        size = std::max(size, INT_MIN + 1) - 1;
    }
}

void encodeValue(const UaVariant& value, _OpcUaDataType type, void* buffer, int& size) {
    visitType(type, ValueEncoder{value, buffer, size});
}

bool decodeValue(UaVariant& value, _OpcUaDataType type, const void* buffer, int& size) {
    return visitType(type, ValueDecoder{value, buffer, size});
}

bool encodeElement(UaVariant&& value, unsigned int position, _OpcUaDataType type, void* buffer, int& size) {
    const bool isOfAnotherType = type >= OpcUaDataType_Boolean && type <= OpcUaDataType_String &&
                                 value.type() != static_cast<OpcUa_BuiltInType>(type);
    if (!isOfAnotherType)
        return visitType(type, ElementEncoder{value, position, buffer, size});
    // One is enough: all of them may take many times the memory.
    if (position >= value.arraySize())
        return false;
    encodeValue(value.element(position), type, buffer, size);
    return true;
}

bool decodeElement(UaVariant& value, unsigned int position, _OpcUaDataType type, const void* buffer,
                   int& size) {
    return visitType(type, ElementDecoder{value, position, buffer, size});
}
