// Values from and to text: what a text is worth does not depend on the way, and every number survives its
// text.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_target.h"
#include "uabase/variant.h"

namespace {

template <typename Number>
using Conversion = OpcUa_StatusCode (UaVariant::*)(Number&) const;
template <typename Number>
using Setter = void (UaVariant::*)(Number);

/// The number that `value` gives as text is the number it gives itself.
template <typename Number>
void checkNumber(const UaVariant& value, Conversion<Number> convert, Setter<Number> set) {
    Number number{};
    if ((value.*convert)(number) != OpcUa_Good) {
        require(number == Number{}, "what can't be converted gives 0");
        return;
    }
    UaVariant scalar;
    (scalar.*set)(number);
    const UaVariant text(scalar.toString());
    Number again{};
    require((text.*convert)(again) == OpcUa_Good && again == number, "a number survives its text");
}

void checkNumbers(const UaVariant& value) {
    checkNumber<OpcUa_Boolean>(value, &UaVariant::toBoolean, &UaVariant::setBoolean);
    checkNumber<OpcUa_SByte>(value, &UaVariant::toSByte, &UaVariant::setSByte);
    checkNumber<OpcUa_Byte>(value, &UaVariant::toByte, &UaVariant::setByte);
    checkNumber<OpcUa_Int16>(value, &UaVariant::toInt16, &UaVariant::setInt16);
    checkNumber<OpcUa_UInt16>(value, &UaVariant::toUInt16, &UaVariant::setUInt16);
    checkNumber<OpcUa_Int32>(value, &UaVariant::toInt32, &UaVariant::setInt32);
    checkNumber<OpcUa_UInt32>(value, &UaVariant::toUInt32, &UaVariant::setUInt32);
    checkNumber<OpcUa_Int64>(value, &UaVariant::toInt64, &UaVariant::setInt64);
    checkNumber<OpcUa_UInt64>(value, &UaVariant::toUInt64, &UaVariant::setUInt64);
    checkNumber<OpcUa_Float>(value, &UaVariant::toFloat, &UaVariant::setFloat);
    checkNumber<OpcUa_Double>(value, &UaVariant::toDouble, &UaVariant::setDouble);
}

/// A double made of the first bytes; not a number, and no infinity, has no text that converts back.
void checkBits(const std::uint8_t* data, std::size_t size) {
    OpcUa_Double number = 0;
    if (size < sizeof number)
        return;
    std::memcpy(&number, data, sizeof number);
    if (std::isfinite(number)) {
        UaVariant value;
        value.setDouble(number);
        checkNumbers(value);
    }
}

void checkUnicode(const UaString& text) {
    const UaString once = text.toUtf16().toUtf8();
    require(once.toUtf16().toUtf8() == once, "what is UTF-8 stays as it is");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const UaString text(std::string(asText(data, size)));
    const UaVariant value(text);
    require(value.toString() == text, "a text is its own text");
    checkNumbers(value);
    checkBits(data, size);
    checkUnicode(text);
    return 0;
}
