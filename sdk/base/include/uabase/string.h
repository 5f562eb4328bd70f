#pragma once

#include <string>
#include <utility>

#include "uastack/export.h"
#include "uastack/protocol_types.h"

class UaUniString;

/// UTF-8 text, always zero-terminated for toUtf8(). A value class.
class UASDK_EXPORT UaString {
public:
    UaString() = default;
    /// A null pointer gives the empty text.
    UaString(const char* utf8);
    UaString(std::string utf8);
    explicit UaString(const OpcUa_String& text);

    /// The text with its terminator; valid until the object changes.
    const char* toUtf8() const { return m_text.c_str(); }
    /// Bytes without the terminator. The text may hold zero bytes of its own.
    int size() const { return static_cast<int>(m_text.size()); }
    bool isEmpty() const { return m_text.empty(); }
    const std::string& text() const { return m_text; }

    UaUniString toUtf16() const;

    /// A copy in which every occurrence of the lowest-numbered place holder ("%1" to "%99") is replaced by
    /// `value`, padded with `fill` to `fieldWidth` characters (positive: right-aligned, negative:
    /// left-aligned). Without a place holder the text is returned as it is.
    UaString arg(const UaString& value, int fieldWidth = 0, char fill = ' ') const;

    /// A view for a request: points into this object, must not be cleared, valid until the object changes.
    OpcUa_String view() const;
    /// Overwrites the text before it empties the object: for what is secret.
    void wipe();

    friend bool operator==(const UaString& a, const UaString& b) { return a.m_text == b.m_text; }
    friend bool operator!=(const UaString& a, const UaString& b) { return a.m_text != b.m_text; }

private:
    std::string m_text;
};

/// UTF-16 text, as the file classes take it.
class UASDK_EXPORT UaUniString {
public:
    UaUniString() = default;
    /// From UTF-8; a null pointer gives the empty text, malformed bytes become U+FFFD.
    UaUniString(const char* utf8);
    UaUniString(std::u16string utf16) : m_text(std::move(utf16)) {}

    UaString toUtf8() const;
    const std::u16string& text() const { return m_text; }

private:
    std::u16string m_text;
};
