#include "values/value_buffer.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <string_view>
#include <utility>

#include "client/text_field.h"

namespace {

template <typename Number>
void store(Number element, void* buffer, int& size) {
    storeNumber(element, buffer, size);
}

void store(const OpcUa_String& element, void* buffer, int& size) {
    storeText(viewOf(element), buffer, size);
}

struct StoreVisitor {
    const UaVariant& value;
    void* buffer;
    int& size;

    template <typename Number>
    void operator()(Number) const {
        storeNumber(Number::get(value), buffer, size);
    }
    void operator()(StringType) const {
        // A text is taken from where it lies; only what must be converted first is copied.
        if (value.type() == OpcUaType_String) {
            storeText(viewOf(value.text()), buffer, size);
        } else {
            storeText(viewOf(value.toString()), buffer, size);
        }
    }
    void operator()(NullType) const { size = 0; }
    void operator()(UnknownType) const {}
};

struct TakeVisitor {
    UaVariant& value;
    const void* buffer;
    int& size;

    template <typename Number>
    bool operator()(Number) const {
        Number::set(value, takeNumber<typename Number::Cell>(buffer, size));
        return true;
    }
    bool operator()(StringType) const {
        value.setString(UaString(static_cast<const char*>(buffer)));
        return true;
    }
    bool operator()(NullType) const { return false; }
    bool operator()(UnknownType) const { return false; }
};

struct StoreElementVisitor {
    UaVariant& value;
    unsigned int position;
    void* buffer;
    int& size;

    template <typename Type>
    bool operator()(Type) const {
        UaProtocolArray<typename Type::Element> elements;
        std::move(value).toArray(elements);
        if (position >= elements.length()) {
            return false;
        }
        store(elements[position], buffer, size);
        return true;
    }
    bool operator()(NullType) const {
        size = 0;
        return true;
    }
    bool operator()(UnknownType) const { return true; }
};

struct TakeElementVisitor {
    UaVariant& value;
    unsigned int position;
    const void* buffer;
    int& size;

    template <typename Number>
    bool operator()(Number) const {
        const auto cell = takeNumber<typename Number::Cell>(buffer, size);
        return replace(static_cast<typename Number::Element>(cell));
    }
    bool operator()(StringType) const {
        const UaString text(static_cast<const char*>(buffer));
        return replace(text.view());
    }
    bool operator()(NullType) const { return empty(); }
    bool operator()(UnknownType) const { return empty(); }

private:
    bool empty() const {
        const bool found = position < value.arraySize();
        value.clear();
        return found;
    }

    template <typename Element>
    bool replace(const Element& element) const {
        const bool isMatrix = value.isMatrix();
        UaProtocolArray<Element> elements;
        UaUInt32Array dimensions;
        const OpcUa_StatusCode converted =
            isMatrix ? std::move(value).toMatrix(elements, dimensions) : std::move(value).toArray(elements);
        if (converted != OpcUa_Good || position >= elements.length()) {
            return false;
        }
        elements.replace(position, element);
        if (isMatrix) {
            return value.setMatrix(std::move(elements), std::move(dimensions)) == OpcUa_Good;
        }
        value.setArray(std::move(elements));
        return true;
    }
};

} // namespace

void storeText(std::string_view text, void* buffer, int& size) {
    const auto capacity = static_cast<std::size_t>(std::max(size, 0));
    auto* const end = std::copy_n(text.data(), std::min(text.size(), capacity), static_cast<char*>(buffer));
    if (text.size() < capacity) {
        *end = '\0';
        size = static_cast<int>(text.size());
    } else {
        size = std::max(size, INT_MIN + 1) - 1;
    }
}

void storeValue(const UaVariant& value, _OpcUaDataType type, void* buffer, int& size) {
    visitType(type, StoreVisitor{value, buffer, size});
}

bool takeValue(UaVariant& value, _OpcUaDataType type, const void* buffer, int& size) {
    return visitType(type, TakeVisitor{value, buffer, size});
}

bool storeElement(UaVariant&& value, unsigned int position, _OpcUaDataType type, void* buffer, int& size) {
    return visitType(type, StoreElementVisitor{value, position, buffer, size});
}

bool takeElement(UaVariant& value, unsigned int position, _OpcUaDataType type, const void* buffer,
                 int& size) {
    return visitType(type, TakeElementVisitor{value, position, buffer, size});
}
