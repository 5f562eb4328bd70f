#include "security/trust.h"

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "OpcUaHelpers.h"
#include "files/library_files.h"
#include "output/dialogue.h"
#include "output/streams.h"
#include "output/table.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr const char* notInOrder =
    "in the trust list, but not in order (expired, revoked, or for another application)";

void addRow(Table& table, const char* title, const std::string& text) {
    table.add({{title, Tone::Heading}, text.empty() ? Cell("-", Tone::Faint) : Cell(text)});
}

void show(const _OpcUaCertificateMsg& certificate) {
    const Terminal terminal = terminalOn(STDERR_FILENO);
    Table table({{"", false}, {"", false}});
    table.add({{"Issued by", Tone::Heading}});
    addRow(table, "  Common name", certificate.commonName);
    addRow(table, "  Organization", certificate.organization);
    addRow(table, "  Organization unit", certificate.organizationUnit);
    addRow(table, "  Locality", certificate.locality);
    addRow(table, "  State", certificate.state);
    addRow(table, "  Country", certificate.country);
    addRow(table, "  Domain component", certificate.domainComponent);
    addRow(table, "Application URI", certificate.applicationUri);
    addRow(table, "Valid from", certificate.validFrom);
    addRow(table, "Valid to", certificate.validTo);
    addRow(table, "Serial number", certificate.serialNumber);
    addRow(table, "Thumbprint (SHA-1)", certificate.thumbprint);
    std::fputs(table.render(terminal).c_str(), stderr);
}

/// The library asks about a certificate in its trust list only when something else is wrong with it.
bool isInTrustList(const _OpcUaCertificateMsg& certificate) {
    std::error_code error;
    return std::filesystem::exists(libraryFiles().trustedCertificates / (certificate.thumbprint + ".der"),
                                   error);
}

/// A word may be its first letter alone.
bool isWord(const std::string& text, const std::string& word) {
    return sameWord(text, word) || sameWord(text, word.substr(0, 1));
}

} // namespace

int TrustDecision::answer(const _OpcUaCertificateMsg& certificate) {
    m_refusal.reset();
    m_isInTrustList = false;
    if (certificate.thumbprint.empty() && m_rule != TrustRule::Once)
        return refuse("the server shows no certificate: it seems to offer no security",
                      "opcua-cli discover, which shows what it offers; --policy None");
    if (!certificate.thumbprint.empty() && certificate.thumbprint == m_acceptedThumbprint)
        return OpcUaTrust_Once;
    m_isInTrustList = isInTrustList(certificate);
    return m_rule == TrustRule::Ask && canAsk() ? ask(certificate) : answerByRule(certificate);
}

std::optional<Problem> TrustDecision::refusal(const std::string& defect) const {
    std::optional<Problem> problem = m_refusal;
    if (problem && m_isInTrustList && !defect.empty())
        problem->explanation += "; " + defect;
    return problem;
}

void TrustDecision::introduce(const _OpcUaCertificateMsg& certificate) const {
    reportNote("the certificate that " + m_url + " shows is " +
               (m_isInTrustList ? notInOrder + std::string(":") : "not trusted:"));
    show(certificate);
}

OpcUaTrust TrustDecision::ask(const _OpcUaCertificateMsg& certificate) {
    introduce(certificate);
    reportNote("compare the thumbprint with the one that the server's operator tells you");
    for (;;) {
        const std::optional<std::string> line =
            opcua_cli::ask(m_isInTrustList ? "Accept it? [y]es, this time; [n]o (default: no): "
                                           : "Trust it? [y]es, this time; [a]lways; [n]o (default: no): ");
        if (!line)
            std::fputs("\n", stderr);
        if (!line || line->empty() || isWord(*line, "no"))
            return refuse("the server's certificate was refused", {});
        if (isWord(*line, "yes"))
            return accept(OpcUaTrust_Once, certificate);
        if (isWord(*line, "always") && !m_isInTrustList)
            return accept(OpcUaTrust_Always, certificate);
    }
}

OpcUaTrust TrustDecision::answerByRule(const _OpcUaCertificateMsg& certificate) {
    if (m_rule == TrustRule::Once || (m_rule == TrustRule::Always && !m_isInTrustList)) {
        const bool once = m_rule == TrustRule::Once;
        reportNote("the certificate " + certificate.thumbprint + " that " + m_url + " shows is " +
                   (once ? "accepted for this time" : "trusted from now on"));
        return accept(once ? OpcUaTrust_Once : OpcUaTrust_Always, certificate);
    }
    introduce(certificate);
    if (m_rule == TrustRule::Always)
        return refuse(
            std::string("the server's certificate is ") + notInOrder,
            "a certificate in order, from the server's operator; --trust once connects all the same");
    if (m_rule == TrustRule::Never)
        return refuse("the server's certificate is not trusted (--trust never)",
                      "--trust always, once the thumbprint is known to be the server's");
    return refuse("the server's certificate is not trusted, and there is no terminal to ask on",
                  "compare the thumbprint with the one that the server's operator tells you, and then once "
                  "--trust always");
}

OpcUaTrust TrustDecision::accept(OpcUaTrust answer, const _OpcUaCertificateMsg& certificate) {
    m_acceptedThumbprint = answer == OpcUaTrust_Once ? certificate.thumbprint : "";
    return answer;
}

OpcUaTrust TrustDecision::refuse(std::string explanation, std::string advice) {
    m_refusal = Problem{std::move(explanation), std::move(advice)};
    return OpcUaTrust_Reject;
}

} // namespace opcua_cli
