#include "certificate.h"

#include "der.h"
#include "hexadecimal.h"
#include "sha1.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace opcua_cli {
namespace {

constexpr unsigned integerTag = 0x02;
constexpr unsigned octetStringTag = 0x04;
constexpr unsigned objectIdTag = 0x06;
constexpr unsigned utcTimeTag = 0x17;
constexpr unsigned sequenceTag = 0x30;
constexpr unsigned setTag = 0x31;
constexpr unsigned hostNameTag = 0x82;
constexpr unsigned uriTag = 0x86;
constexpr unsigned versionTag = 0xA0;
constexpr unsigned extensionsTag = 0xA3;

constexpr std::string_view commonNameId{"\x55\x04\x03", 3};
constexpr std::string_view organizationId{"\x55\x04\x0A", 3};
constexpr std::string_view subjectAlternativeNameId{"\x55\x1D\x11", 3};

/// The first attribute of that kind in a distinguished name.
std::string attributeOf(const DerElement& name, std::string_view id) {
    for (DerReader parts(name); !parts.atEnd();) {
        for (DerReader part(parts.next(setTag)); !part.atEnd();) {
            DerReader attribute(part.next(sequenceTag));
            if (attribute.next(objectIdTag).content == id)
                return std::string(attribute.next().content);
        }
    }
    return {};
}

/// "261120023202Z" or, with the whole year, "20261120023202Z".
std::string timeText(const DerElement& time) {
    std::string digits(time.content);
    if (time.tag == utcTimeTag)
        digits.insert(0, digits < "50" ? "20" : "19");
    constexpr std::size_t usualLength = 15;
    if (digits.size() != usualLength || digits.back() != 'Z')
        throw std::invalid_argument("a time in an unusual form");
    return digits.substr(0, 4) + "-" + digits.substr(4, 2) + "-" + digits.substr(6, 2) + "T" +
           digits.substr(8, 2) + ":" + digits.substr(10, 2) + ":" + digits.substr(12, 2) + "Z";
}

std::string serialText(std::string_view content) {
    while (content.size() > 1 && content[0] == '\0')
        content.remove_prefix(1);
    return hexadecimal(content);
}

void takeAlternativeNames(const DerElement& value, Certificate& certificate) {
    for (DerReader names(DerReader(value).next(sequenceTag)); !names.atEnd();) {
        const DerElement name = names.next();
        if (name.tag == uriTag && certificate.applicationUri.empty())
            certificate.applicationUri = name.content;
        else if (name.tag == hostNameTag)
            certificate.hostNames.emplace_back(name.content);
    }
}

void takeExtensions(const DerElement& wrapped, Certificate& certificate) {
    for (DerReader extensions(DerReader(wrapped).next(sequenceTag)); !extensions.atEnd();) {
        DerReader extension(extensions.next(sequenceTag));
        if (extension.next(objectIdTag).content != subjectAlternativeNameId)
            continue;
        while (!extension.nextIs(octetStringTag))
            extension.next(); // whether it is critical
        takeAlternativeNames(extension.next(), certificate);
    }
}

constexpr std::string_view pemBegin = "-----BEGIN CERTIFICATE-----";
constexpr std::string_view pemEnd = "-----END CERTIFICATE-----";

std::string fromBase64(std::string_view text) {
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned bits = 0;
    unsigned count = 0;
    for (const char character : text) {
        const std::size_t value = alphabet.find(character);
        if (value == std::string_view::npos)
            continue; // line ends and the filling at the end
        bits = (bits << 6U | static_cast<unsigned>(value)) & 0xFFFFU;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFFU);
        }
    }
    return bytes;
}

} // namespace

Certificate certificateFromDer(std::string_view der) {
    DerReader outside(der);
    DerReader signedPart(DerReader(outside.next(sequenceTag)).next(sequenceTag));
    Certificate certificate;
    if (signedPart.nextIs(versionTag))
        signedPart.next();
    certificate.serialNumber = serialText(signedPart.next(integerTag).content);
    signedPart.next(sequenceTag); // signature algorithm
    certificate.issuerCommonName = attributeOf(signedPart.next(sequenceTag), commonNameId);
    DerReader validity(signedPart.next(sequenceTag));
    certificate.validFrom = timeText(validity.next());
    certificate.validTo = timeText(validity.next());
    const DerElement subject = signedPart.next(sequenceTag);
    certificate.commonName = attributeOf(subject, commonNameId);
    certificate.organization = attributeOf(subject, organizationId);
    while (!signedPart.atEnd()) {
        const DerElement element = signedPart.next();
        if (element.tag == extensionsTag)
            takeExtensions(element, certificate);
    }
    certificate.thumbprint = sha1(der.substr(0, der.size() - outside.restSize()));
    return certificate;
}

std::string derOf(const std::string& content) {
    const std::size_t begin = content.find(pemBegin);
    if (begin == std::string::npos)
        return content;
    const std::size_t end = content.find(pemEnd, begin);
    if (end == std::string::npos)
        throw std::invalid_argument("a PEM text without end");
    const std::size_t start = begin + pemBegin.size();
    return fromBase64(std::string_view(content).substr(start, end - start));
}

std::string readSmallFile(const std::filesystem::path& file) {
    constexpr std::uintmax_t sizeLimit = 1 << 20;
    if (!std::filesystem::is_regular_file(file))
        throw std::runtime_error(std::filesystem::exists(file) ? "not a regular file"
                                                               : "No such file or directory");
    if (std::filesystem::file_size(file) > sizeLimit)
        throw std::runtime_error("larger than a certificate can be");
    std::ifstream input(file, std::ios::binary);
    if (!input)
        throw std::runtime_error(std::generic_category().message(errno));
    return {std::istreambuf_iterator<char>(input), {}};
}

} // namespace opcua_cli
