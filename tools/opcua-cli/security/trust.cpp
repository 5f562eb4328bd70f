#include "trust.h"

#include "../output/dialogue.h"
#include "../output/streams.h"
#include "../output/table.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace opcua_cli {
namespace {

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

bool isWord(std::string text, const std::string& word) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return text == word || (text.size() == 1 && text[0] == word[0]);
}

} // namespace

int TrustDecision::answer(const _OpcUaCertificateMsg& certificate) {
    m_refusal.reset();
    if (!certificate.thumbprint.empty() && certificate.thumbprint == m_acceptedThumbprint)
        return AcceptOnce;
    reportNote("the certificate that " + m_url + " shows is not trusted:");
    show(certificate);
    return m_rule == TrustRule::Ask && canAsk() ? ask(certificate) : answerByRule(certificate);
}

TrustDecision::Answer TrustDecision::ask(const _OpcUaCertificateMsg& certificate) {
    reportNote("compare the thumbprint with the one that the server's operator tells you");
    for (;;) {
        const std::optional<std::string> line =
            opcua_cli::ask("Trust it? [y]es, this time; [a]lways; [n]o (default: no): ");
        if (!line)
            std::fputs("\n", stderr);
        if (!line || line->empty() || isWord(*line, "no"))
            return refuse("the server's certificate was refused", {});
        if (isWord(*line, "yes"))
            return accept(AcceptOnce, certificate);
        if (isWord(*line, "always"))
            return accept(TrustPermanently, certificate);
    }
}

TrustDecision::Answer TrustDecision::answerByRule(const _OpcUaCertificateMsg& certificate) {
    switch (m_rule) {
    case TrustRule::Once:
        reportNote("accepted for this time (--trust once)");
        return accept(AcceptOnce, certificate);
    case TrustRule::Always:
        reportNote("trusted from now on (--trust always)");
        return accept(TrustPermanently, certificate);
    case TrustRule::Never:
        return refuse("the server's certificate is not trusted (--trust never)",
                      "--trust always, once the thumbprint is known to be the server's");
    case TrustRule::Ask:
        break;
    }
    return refuse("the server's certificate is not trusted, and there is no terminal to ask on",
                  "compare the thumbprint with the one that the server's operator tells you, and then once "
                  "--trust always");
}

TrustDecision::Answer TrustDecision::accept(Answer answer, const _OpcUaCertificateMsg& certificate) {
    m_acceptedThumbprint = answer == AcceptOnce ? certificate.thumbprint : "";
    return answer;
}

TrustDecision::Answer TrustDecision::refuse(std::string explanation, std::string advice) {
    m_refusal = Problem{std::move(explanation), std::move(advice)};
    return Reject;
}

} // namespace opcua_cli
