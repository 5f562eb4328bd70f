#pragma once

#include <optional>
#include <string>
#include <utility>

#include "OpcUaHelpers.h"
#include "OpcUaTypes.h"
#include "failure.h"

namespace opcua_cli {

/// What to do with a server certificate that is not trusted yet.
enum class TrustRule {
    Ask,    ///< ask the person at the terminal; without one, refuse
    Once,   ///< accept it for this run of the program
    Always, ///< put it into the trust list
    Never   ///< refuse
};

/// Decides on server certificates that the library does not trust: by rule, or by asking the person at the
/// terminal.
class TrustDecision {
public:
    TrustDecision(TrustRule rule, std::string url) : m_rule(rule), m_url(std::move(url)) {}

    /// The library's number for the answer.
    int answer(const _OpcUaCertificateMsg& certificate);

    /// Why the last certificate was refused, given what is wrong with it; nothing when none was.
    std::optional<Problem> refusal(const std::string& defect) const;

private:
    void introduce(const _OpcUaCertificateMsg& certificate) const;
    OpcUaTrust ask(const _OpcUaCertificateMsg& certificate);
    OpcUaTrust answerByRule(const _OpcUaCertificateMsg& certificate);
    OpcUaTrust accept(OpcUaTrust answer, const _OpcUaCertificateMsg& certificate);
    OpcUaTrust refuse(std::string explanation, std::string advice);

    TrustRule m_rule;
    std::string m_url;
    bool m_isInTrustList = false;     ///< the certificate that is decided on
    std::string m_acceptedThumbprint; ///< accepted for this run: not asked again
    std::optional<Problem> m_refusal;
};

} // namespace opcua_cli
