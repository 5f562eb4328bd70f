#include "values/value_buffer.h"

#include <climits>

namespace {

struct StoreVisitor {
    const UaVariant& value;
    void* buffer;
    int& size;

    template <typename Number>
    void operator()(Number) const {
        storeNumber(Number::get(value), buffer, size);
    }
    void operator()(StringType) const { storeText(value.toString(), buffer, size); }
    void operator()(NullType) const { size = 0; }
    void operator()(UnknownType) const {}
};

struct TakeVisitor {
    UaVariant& value;
    const void* buffer;
    int& size;

    template <typename Number>
    void operator()(Number) const {
        Number::set(value, takeNumber<typename Number::Cell>(buffer, size));
    }
    void operator()(StringType) const { value.setString(UaString(static_cast<const char*>(buffer))); }
    void operator()(NullType) const {}
    void operator()(UnknownType) const {}
};

} // namespace

void storeText(const UaString& text, void* buffer, int& size) {
    const int length = text.size();
    if (length < size) {
        std::memcpy(buffer, text.toUtf8(), static_cast<std::size_t>(length) + 1);
        size = length;
        return;
    }
    std::memcpy(buffer, text.toUtf8(), static_cast<std::size_t>(std::max(size, 0)));
    size = std::max(size, INT_MIN + 1) - 1;
}

void storeValue(const UaVariant& value, _OpcUaDataType type, void* buffer, int& size) {
    visitType(type, StoreVisitor{value, buffer, size});
}

void takeValue(UaVariant& value, _OpcUaDataType type, const void* buffer, int& size) {
    visitType(type, TakeVisitor{value, buffer, size});
}
