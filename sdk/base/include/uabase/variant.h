#pragma once

#include <cstddef>

#include "uabase/arrays.h"
#include "uabase/string.h"
#include "uastack/export.h"
#include "uastack/protocol_types.h"
#include "uastack/status_code.h"

/// OPC UA Part 6, 5.1.9: an owned Variant with conversions. A value class.
///
/// A scalar of up to 16 bytes lies inside the object: copying, setting or converting one allocates nothing
/// (the characters of a String do).
///
/// Conversions (`to...`): a number converts to a number type that can hold it, a Boolean to 0 or 1 and back
/// (0 is false), a String to a number when the whole text is one, anything scalar of the twelve types to
/// text. A floating-point value is rounded to the nearest integer (half away from zero). Float takes any
/// Double in its range; NaN and infinity convert between Float and Double only. The status is OpcUa_Good,
/// OpcUa_BadOutOfRange for a number that does not fit, or OpcUa_BadTypeMismatch for everything else (arrays,
/// empty, other types); on failure the target is set to 0, so that nothing undefined is ever handed on.
class UASDK_EXPORT UaVariant {
public:
    UaVariant() noexcept : m_variant(), m_inline() {}
    /// A deep copy.
    UaVariant(const OpcUa_Variant& variant);
    UaVariant(const UaString& text);
    UaVariant(const UaVariant& other);
    UaVariant(UaVariant&& other) noexcept;
    UaVariant& operator=(const UaVariant& other);
    UaVariant& operator=(UaVariant&& other) noexcept;
    ~UaVariant() {
        if (holdsMemory())
            clear();
    }

    /// A view of `variant` that copies nothing and frees nothing: valid while that one stays as it is. A copy
    /// of the view owns what it holds.
    static UaVariant borrow(const OpcUa_Variant& variant) {
        UaVariant result;
        result.m_variant = viewOf(variant);
        return result;
    }

    /// The same of the scalar at `data`.
    static UaVariant borrow(const UA_DataType& type, const void* data) {
        UaVariant result;
        result.m_variant.type = &type;
        result.m_variant.data = const_cast<void*>(data);
        result.m_variant.storageType = UA_VARIANT_DATA_NODELETE;
        return result;
    }

    /// A view for a request: copies nothing, must not be freed, valid while this one stays as it is.
    OpcUa_Variant view() const { return viewOf(m_variant); }

    /// Takes the content of `variant` over without copying it and leaves `variant` empty.
    void attach(OpcUa_Variant& variant);
    void clear();

    /// Built-in type of the value or of its elements (an enumeration is an Int32, a structure an
    /// ExtensionObject); OpcUaType_Null when empty.
    OpcUa_BuiltInType type() const {
        if (isEmpty())
            return OpcUaType_Null;
        const OpcUa_UInt32 kind = m_variant.type->typeKind;
        if (kind == UA_DATATYPEKIND_ENUM)
            return OpcUaType_Int32;
        // The engine numbers the built-in types from zero; what follows them are kinds of structures.
        return kind <= UA_DATATYPEKIND_DIAGNOSTICINFO ? static_cast<OpcUa_BuiltInType>(kind + 1)
                                                      : OpcUaType_ExtensionObject;
    }
    bool isEmpty() const { return m_variant.type == nullptr; }
    /// One-dimensional array.
    bool isArray() const { return holdsElements() && !hasDimensions(); }
    /// Two dimensions or more. An array whose dimensions don't multiply to its length is neither this nor
    /// that.
    bool isMatrix() const { return holdsElements() && hasDimensions() && dimensionsMatch(); }
    /// Number of elements of an array or matrix, else 0.
    OpcUa_UInt32 arraySize() const;
    /// Number of elements of a matrix, else 0.
    OpcUa_UInt32 noOfMatrixElements() const { return isMatrix() ? arraySize() : 0; }
    /// Number of dimensions of a matrix, else 0.
    OpcUa_UInt32 dimensionSize() const;
    /// Lengths of a matrix's dimensions, outermost first; empty for anything else.
    void arrayDimensions(UaUInt32Array& dimensions) const;

    /// A view of one element of an array or matrix, those of a matrix counted in row-major order: valid while
    /// this one stays as it is. `index` must be below arraySize().
    UaVariant element(OpcUa_UInt32 index) const;
    /// The characters of a String where they lie: valid while this one stays as it is. Empty for anything
    /// else.
    OpcUa_String text() const;

    OpcUa_StatusCode toBoolean(OpcUa_Boolean& value) const;
    OpcUa_StatusCode toSByte(OpcUa_SByte& value) const;
    OpcUa_StatusCode toByte(OpcUa_Byte& value) const;
    OpcUa_StatusCode toInt16(OpcUa_Int16& value) const;
    OpcUa_StatusCode toUInt16(OpcUa_UInt16& value) const;
    OpcUa_StatusCode toInt32(OpcUa_Int32& value) const;
    OpcUa_StatusCode toUInt32(OpcUa_UInt32& value) const;
    OpcUa_StatusCode toInt64(OpcUa_Int64& value) const;
    OpcUa_StatusCode toUInt64(OpcUa_UInt64& value) const;
    OpcUa_StatusCode toFloat(OpcUa_Float& value) const;
    OpcUa_StatusCode toDouble(OpcUa_Double& value) const;
    /// Empty text when the value has no text form here.
    UaString toString() const;

    void setBoolean(OpcUa_Boolean value);
    void setSByte(OpcUa_SByte value);
    void setByte(OpcUa_Byte value);
    void setInt16(OpcUa_Int16 value);
    void setUInt16(OpcUa_UInt16 value);
    void setInt32(OpcUa_Int32 value);
    void setUInt32(OpcUa_UInt32 value);
    void setInt64(OpcUa_Int64 value);
    void setUInt64(OpcUa_UInt64 value);
    void setFloat(OpcUa_Float value);
    void setDouble(OpcUa_Double value);
    void setString(const UaString& value);

    /// Give the elements of an array or matrix away, those of a matrix in row-major order; the variant is
    /// empty afterwards. Elements of this very type are handed over, not copied; others are converted one by
    /// one as a scalar is, and one that can't be is 0 or the empty text. Good when all of them were, else
    /// what became of the first that was not; OpcUa_BadTypeMismatch and no elements for anything but an array
    /// or matrix.
    OpcUa_StatusCode toBoolArray(UaBooleanArray& values) &&;
    OpcUa_StatusCode toSByteArray(UaSByteArray& values) &&;
    OpcUa_StatusCode toByteArray(UaProtocolArray<OpcUa_Byte>& values) &&;
    OpcUa_StatusCode toInt16Array(UaInt16Array& values) &&;
    OpcUa_StatusCode toUInt16Array(UaUInt16Array& values) &&;
    OpcUa_StatusCode toInt32Array(UaInt32Array& values) &&;
    OpcUa_StatusCode toUInt32Array(UaUInt32Array& values) &&;
    OpcUa_StatusCode toInt64Array(UaInt64Array& values) &&;
    OpcUa_StatusCode toUInt64Array(UaUInt64Array& values) &&;
    OpcUa_StatusCode toFloatArray(UaFloatArray& values) &&;
    OpcUa_StatusCode toDoubleArray(UaDoubleArray& values) &&;
    OpcUa_StatusCode toStringArray(UaStringArray& values) &&;
    /// The same for a matrix alone, with its dimensions.
    OpcUa_StatusCode toBoolMatrix(UaBooleanArray& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toSByteMatrix(UaSByteArray& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toByteMatrix(UaProtocolArray<OpcUa_Byte>& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toInt16Matrix(UaInt16Array& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toUInt16Matrix(UaUInt16Array& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toInt32Matrix(UaInt32Array& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toUInt32Matrix(UaUInt32Array& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toInt64Matrix(UaInt64Array& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toUInt64Matrix(UaUInt64Array& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toFloatMatrix(UaFloatArray& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toDoubleMatrix(UaDoubleArray& values, UaUInt32Array& dimensions) &&;
    OpcUa_StatusCode toStringMatrix(UaStringArray& values, UaUInt32Array& dimensions) &&;

    /// Take the elements over.
    void setBoolArray(UaBooleanArray&& values);
    void setSByteArray(UaSByteArray&& values);
    void setByteArray(UaProtocolArray<OpcUa_Byte>&& values);
    void setInt16Array(UaInt16Array&& values);
    void setUInt16Array(UaUInt16Array&& values);
    void setInt32Array(UaInt32Array&& values);
    void setUInt32Array(UaUInt32Array&& values);
    void setInt64Array(UaInt64Array&& values);
    void setUInt64Array(UaUInt64Array&& values);
    void setFloatArray(UaFloatArray&& values);
    void setDoubleArray(UaDoubleArray&& values);
    void setStringArray(UaStringArray&& values);
    /// The same for a matrix. OpcUa_BadInvalidArgument and an empty variant when there are less than two
    /// dimensions or they don't multiply to the number of elements.
    OpcUa_StatusCode setBoolMatrix(UaBooleanArray&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setSByteMatrix(UaSByteArray&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setByteMatrix(UaProtocolArray<OpcUa_Byte>&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setInt16Matrix(UaInt16Array&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setUInt16Matrix(UaUInt16Array&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setInt32Matrix(UaInt32Array&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setUInt32Matrix(UaUInt32Array&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setInt64Matrix(UaInt64Array&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setUInt64Matrix(UaUInt64Array&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setFloatMatrix(UaFloatArray&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setDoubleMatrix(UaDoubleArray&& values, UaUInt32Array&& dimensions);
    OpcUa_StatusCode setStringMatrix(UaStringArray&& values, UaUInt32Array&& dimensions);

    /// Makes `*target` a deep copy that the caller clears. What `*target` held is not freed.
    OpcUa_StatusCode copyTo(OpcUa_Variant* target) const;
    /// Moves the value into `*target`, where the caller clears it; only a scalar that lies inside is copied.
    /// What `*target` held is not freed.
    OpcUa_StatusCode moveTo(OpcUa_Variant* target);

    const OpcUa_Variant& raw() const { return m_variant; }

private:
    static OpcUa_Variant viewOf(OpcUa_Variant variant) {
        variant.storageType = UA_VARIANT_DATA_NODELETE;
        return variant;
    }
    /// Neither empty, nor a view, nor a number that lies inside.
    bool holdsMemory() const {
        if (m_variant.storageType != UA_VARIANT_DATA_NODELETE)
            return m_variant.type != nullptr || m_variant.arrayDimensions != nullptr;
        return m_variant.data == m_inline && !m_variant.type->pointerFree;
    }

    static constexpr std::size_t inlineSize = 16;

    template <typename Element>
    OpcUa_StatusCode toArray(UaProtocolArray<Element>& values) &&;
    template <typename Element>
    OpcUa_StatusCode toMatrix(UaProtocolArray<Element>& values, UaUInt32Array& dimensions) &&;
    template <typename Element>
    void setArray(UaProtocolArray<Element>&& values);
    template <typename Element>
    OpcUa_StatusCode setMatrix(UaProtocolArray<Element>&& values, UaUInt32Array&& dimensions);

    void copyFrom(const OpcUa_Variant& source);
    void moveFrom(UaVariant& source) noexcept;
    void setInline(OpcUa_BuiltInType type, const void* value, std::size_t size);
    bool isView() const { return m_variant.storageType == UA_VARIANT_DATA_NODELETE; }
    /// The engine marks an empty array by a pointer that leads nowhere.
    bool holdsElements() const {
        return !isEmpty() && (m_variant.arrayLength > 0 || m_variant.data <= UA_EMPTY_ARRAY_SENTINEL);
    }
    bool hasDimensions() const {
        return m_variant.arrayDimensionsSize >= 2 && m_variant.arrayDimensions != nullptr;
    }
    /// Whether they describe exactly the elements that are there. They come from the peer.
    bool dimensionsMatch() const;

    OpcUa_Variant m_variant;
    alignas(8) unsigned char m_inline[inlineSize];
};
