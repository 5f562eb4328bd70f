#include "reasons.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "address.h"
#include "files/library_files.h"

namespace opcua_cli {
namespace {

/// A text of the trace is known by what was done and by its status, or the beginning of one, which is shown
/// as well. {host}, {port} and {certificate} stand for those of the connect. Without an explanation the text
/// itself says it best.
struct Reason {
    std::string_view done;
    std::string_view status;
    const char* explanation;
    const char* advice;
    bool canPass = false;
};

constexpr const char* wrongPassword = "wrong user name or password";
constexpr const char* passwordAdvice =
    "the password once more (OPCUA_CLI_PASSWORD, where it is set, is taken unasked), and whether the server "
    "knows this user";
constexpr const char* needsUser = "the server lets nobody in without a user";
constexpr const char* userAdvice = "--user NAME, or --user-cert FILE";
constexpr const char* certificateOfUser = "the server does not accept this user's certificate";
constexpr const char* certificateOfUserAdvice =
    "hand the certificate (--user-cert) to the server, among those of the users that it trusts";
constexpr const char* untrusted = "the server does not trust this client's certificate";
constexpr const char* untrustedAdvice =
    "copy {certificate} to the server's trusted client certificates, or move it there from those that the "
    "server has rejected (opcua-cli cert says more), and connect again";
constexpr const char* noAnswer = "{host} did not answer in time on port {port}";
constexpr const char* noAnswerAdvice = "see whether machine and server run and no firewall is in between; a "
                                       "slow network needs a longer --timeout; --wait tries until it answers";

/// The first that fits counts.
constexpr Reason ofConnect[]{
    {"does not resolve", "BadNotFound", "the name {host} does not resolve",
     "see whether the name is right and this machine asks the right name server, or use the IP address",
     true},
    {"does not resolve", "", "the name {host} does not resolve: this machine cannot look it up now",
     "see whether this machine's network and its name server work, or use the IP address; --wait tries until "
     "they do",
     true},
    {"at address", "BadConnectionRejected", "nothing listens on port {port} of {host}",
     "see whether the server runs, and on which port (often 4840); --wait tries until it is there", true},
    {"no answer in time", "", noAnswer, noAnswerAdvice, true},
    {"refused by the server", "BadTimeout", "{host} answers that something took it too long",
     "see what the server itself waits for; --wait tries until it lets this client in", true},
    {"at address", "BadTimeout", noAnswer, noAnswerAdvice, true},
    {"told no endpoint", "BadTimeout", noAnswer, noAnswerAdvice, true},
    {"at address", "BadConnectionClosed",
     "there is no route to {host}, or what listens on port {port} closes the connection at once",
     "see whether address and network are right, and whether it is an OPC UA server; --wait tries until it "
     "answers",
     true},
    {"the user is user name", "BadUserAccessDenied", wrongPassword, passwordAdvice},
    {"the user is user name", "BadIdentityTokenRejected", wrongPassword, passwordAdvice},
    {"the user is user cert", "BadUserAccessDenied", certificateOfUser, certificateOfUserAdvice},
    {"the user is user cert", "BadIdentityTokenRejected", certificateOfUser, certificateOfUserAdvice},
    {"activating the session", "BadUserAccessDenied", needsUser, userAdvice},
    {"activating the session", "BadIdentityTokenRejected", needsUser, userAdvice},
    {"activating the session", "BadIdentityTokenInvalid", needsUser, userAdvice},
    {"accepts no anonymous", "", needsUser, userAdvice},
    {"does the server trust", "BadSecurityChecksFailed", untrusted, untrustedAdvice},
    {"does the server trust", "BadCertificate", untrusted, untrustedAdvice},
    {"does the server trust", "BadConnectionClosed",
     "the server hung up, as some do that do not trust this client's certificate", untrustedAdvice},
    {"opening the secure channel", "BadConnectionClosed",
     "what listens on port {port} of {host} closes the connection at once",
     "see whether it is an OPC UA server; --wait tries until it answers", true},
    {"", "BadTooManySessions", "the server has no room for another session",
     "close another client, or wait until the sessions of clients that are gone have timed out"},
    {"offers no endpoint with", "", "", "--policy and --mode as the server offers them"},
};

constexpr Reason ofNodes[]{
    {"", "BadNodeIdUnknown", "there is no such node on the server",
     "the node id as opcua-cli browse URL shows it; a server may number its namespaces anew at a start"},
    {"", "BadNodeIdInvalid", "the server takes this for no node id",
     "the node id as opcua-cli browse URL shows it"},
    {"", "BadAttributeIdInvalid", "the node has no value: it is no variable",
     "opcua-cli browse URL NODE, which shows what lies below it"},
    {"", "BadNotReadable", "the server lets nobody read this value", ""},
    {"", "BadNotWritable", "the value is read-only: nobody may write it",
     "another node, such as a set point"},
    {"is not written", "BadUserAccessDenied", "this user may not write it",
     "--user NAME of one who may write it"},
    {"", "BadUserAccessDenied", "this user may not read it", "--user NAME of one who may read it"},
    {"", "BadTypeMismatch", "the node takes another type",
     "--type with the type that opcua-cli read URL NODE shows"},
    {"", "BadOutOfRange", "the server takes no such value for this node: it is out of range", ""},
    {"", "BadIndexRange", "the array has no such element",
     "an --index within the lengths that opcua-cli read shows"},
    {"", "BadWaitingForInitialData", "the server has no value yet", "the same a little later"},
    {"", "BadSensorFailure", "the sensor has failed", ""},
    {"", "BadNoCommunication", "the server does not reach the device that has the value", ""},
    {"", "BadNotConnected", "the server is not connected with the device that has the value", ""},
    {"", "BadDeviceFailure", "the device that has the value has failed", ""},
    {"", "BadOutOfService", "the value is out of service", ""},
    {"", "BadTimeout", "the server did not answer in time", "the same again"},
};

constexpr Reason ofLosses[]{
    {"no sign of the server", "", "the server does not answer any more",
     "the same command again, once the server answers"},
    {"connection lost", "BadConnectionClosed", "the server has closed the connection, or is gone",
     "the same command again, once the server answers"},
};

bool holds(std::string_view text, std::string_view words) {
    return text.find(words) != std::string_view::npos;
}

template <std::size_t Size>
const Reason* reasonFor(const Reason (&reasons)[Size], const std::string& text) {
    const auto found = std::find_if(std::begin(reasons), std::end(reasons), [&](const Reason& reason) {
        return holds(text, reason.done) && holds(text, reason.status);
    });
    return found == std::end(reasons) ? nullptr : found;
}

void replace(std::string& text, const std::string& word, const std::string& by) {
    const std::size_t at = text.find(word);
    if (at != std::string::npos)
        text.replace(at, word.size(), by);
}

std::string filledIn(std::string text, const Address& address) {
    replace(text, "{host}", address.host);
    replace(text, "{port}", address.port);
    replace(text, "{certificate}", libraryFiles().clientCertificate.string());
    return text;
}

/// What stands behind the words; all of the text when they are not there.
std::string behind(const std::string& text, std::string_view words) {
    const std::size_t at = text.find(words);
    return at == std::string::npos ? text : text.substr(at + words.size());
}

/// " (BadNodeIdUnknown)"; nothing for a reason without status.
std::string statusShown(const Reason& reason, const std::string& text) {
    if (reason.status.empty())
        return {};
    const std::size_t begin = text.find(reason.status);
    const auto end = std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(begin), text.end(),
                                      [](unsigned char letter) { return std::isalnum(letter) != 0; });
    return " (" + std::string(text.begin() + static_cast<std::ptrdiff_t>(begin), end) + ")";
}

void explain(Problem& problem, const Reason& reason, const std::string& text) {
    const std::string explanation = reason.explanation;
    problem.explanation = explanation.empty() ? behind(text, "refused by this client: ")
                                              : explanation + statusShown(reason, text);
    problem.advice = reason.advice;
    problem.canPass = reason.canPass;
}

/// By the last of the texts that is known. False when none is.
template <std::size_t Size>
bool explainByLast(Problem& problem, const Reason (&reasons)[Size], const std::vector<std::string>& texts) {
    for (auto text = texts.rbegin(); text != texts.rend(); ++text) {
        if (const Reason* reason = reasonFor(reasons, *text)) {
            explain(problem, *reason, *text);
            return true;
        }
    }
    return false;
}

/// The last text with these words, or null.
const std::string* lastWith(const std::vector<std::string>& texts, std::string_view words) {
    const auto found = std::find_if(texts.rbegin(), texts.rend(),
                                    [&](const std::string& text) { return holds(text, words); });
    return found == texts.rend() ? nullptr : &*found;
}

} // namespace

void explainConnect(Problem& problem, const std::vector<std::string>& texts, const std::string& url) {
    const Address address = addressIn(url);
    if (explainByLast(problem, ofConnect, texts)) {
        problem.explanation = filledIn(problem.explanation, address);
        problem.advice = filledIn(problem.advice, address);
    } else if (!texts.empty()) {
        const std::string* refusal = lastWith(texts, "refused by ");
        problem.explanation += ": " + (refusal != nullptr ? *refusal : texts.back());
    }
}

void explainLoss(Problem& problem, const std::vector<std::string>& texts) {
    const std::string* loss = lastWith(texts, "connection lost: ");
    if (!explainByLast(problem, ofLosses, texts) && loss != nullptr)
        problem.explanation += behind(*loss, "connection lost");
}

void explainNode(Problem& problem, const std::vector<std::string>& texts, const std::string& nodeId) {
    const std::string refusal = " is not ";
    const auto ofThisNode = [&](const std::string& text) {
        return nodeId.empty() ? holds(text, refusal)
                              : text.compare(0, nodeId.size() + refusal.size(), nodeId + refusal) == 0;
    };
    const auto found = std::find_if(texts.rbegin(), texts.rend(), ofThisNode);
    if (found == texts.rend()) {
        if (const std::string* batch = lastWith(texts, " on failed: "))
            problem.explanation += ": " + behind(*batch, " on failed: ");
    } else if (const Reason* reason = reasonFor(ofNodes, *found)) {
        explain(problem, *reason, *found);
    } else {
        problem.explanation += ": " + behind(behind(*found, refusal), ": ");
    }
}

std::string certificateDefect(const std::vector<std::string>& texts) {
    const std::string* finding = lastWith(texts, "certificate does not pass: ");
    const std::string defect = finding != nullptr ? behind(*finding, "certificate does not pass: ") : "";
    return defect.substr(0, defect.find("; certificate \""));
}

} // namespace opcua_cli
