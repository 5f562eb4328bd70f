#include "distinguished_name.h"

#include <array>
#include <cstddef>
#include <string>

namespace pki {
namespace {

struct Attribute {
    int nid;
    UaString UaPkiIdentity::* field;
};

constexpr std::array<Attribute, 7> attributes{{{NID_organizationName, &UaPkiIdentity::organization},
                                               {NID_organizationalUnitName, &UaPkiIdentity::organizationUnit},
                                               {NID_localityName, &UaPkiIdentity::locality},
                                               {NID_stateOrProvinceName, &UaPkiIdentity::state},
                                               {NID_countryName, &UaPkiIdentity::country},
                                               {NID_commonName, &UaPkiIdentity::commonName},
                                               {NID_domainComponent, &UaPkiIdentity::domainComponent}}};

/// Valid UTF-8 whatever the bytes are.
UaString withoutControlCharacters(const char* text, std::size_t length) {
    std::string result;
    result.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x20 || byte == 0x7F)
            result += "\xEF\xBF\xBD"; // U+FFFD
        else
            result += text[i];
    }
    return UaUniString(result.c_str()).toUtf8();
}

} // namespace

X509NamePtr makeName(const UaPkiIdentity& identity) {
    X509NamePtr name(X509_NAME_new());
    for (const Attribute& attribute : attributes) {
        const UaString& value = identity.*attribute.field;
        const auto* bytes = reinterpret_cast<const unsigned char*>(value.toUtf8());
        if (name != nullptr && !value.isEmpty() &&
            X509_NAME_add_entry_by_NID(name.get(), attribute.nid, MBSTRING_UTF8, bytes, value.size(), -1,
                                       0) != 1) {
            return nullptr;
        }
    }
    return name;
}

UaPkiIdentity readName(const X509_NAME* name) {
    UaPkiIdentity identity;
    for (const Attribute& attribute : attributes) {
        const int index = X509_NAME_get_index_by_NID(name, attribute.nid, -1);
        if (index >= 0) {
            identity.*attribute.field =
                printableText(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
        }
    }
    return identity;
}

UaString nameText(const X509_NAME* name) {
    constexpr unsigned long readable = XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
    const BioPtr output(BIO_new(BIO_s_mem()));
    char* text = nullptr;
    if (output == nullptr || X509_NAME_print_ex(output.get(), name, 0, readable) < 0)
        return {};
    const long length = BIO_get_mem_data(output.get(), &text);
    return withoutControlCharacters(text, static_cast<std::size_t>(length));
}

UaString printableText(const ASN1_STRING* string) {
    unsigned char* utf8 = nullptr;
    const int length = ASN1_STRING_to_UTF8(&utf8, string);
    if (length < 0)
        return {};
    UaString text =
        withoutControlCharacters(reinterpret_cast<const char*>(utf8), static_cast<std::size_t>(length));
    OPENSSL_free(utf8);
    return text;
}

} // namespace pki
