#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "commands/arguments.h"
#include "security/names.h"

namespace opcua_cli {
namespace {

std::map<std::string, int> trustRules() {
    return {{"once", static_cast<int>(TrustRule::Once)},
            {"always", static_cast<int>(TrustRule::Always)},
            {"never", static_cast<int>(TrustRule::Never)}};
}

using FromName = std::optional<int> (*)(const std::string&);

/// Replaces a name by its number.
Check numberFor(FromName fromName, const std::string& what, const std::string& names) {
    return [=](std::string& text) -> std::string {
        const std::optional<int> number = fromName(text);
        if (!number)
            return "no " + what + " is called " + text + "; there are " + names;
        text = std::to_string(*number);
        return {};
    };
}

} // namespace

void addSecurityOptions(Command& command, SecurityOptions& options) {
    const std::size_t earlier = command.options.size();
    command.addOption(
        "--policy", "POLICY", &options.policy,
        policyNames() +
            "; Aes128 and Aes256 will do. Default: Basic256Sha256 with a --mode or a user, else None",
        numberFor(policyFromName, "security policy", policyNames()));
    command.addOption("--mode", "MODE", &options.mode,
                      modeNames() + ". Default: SignAndEncrypt with a policy",
                      numberFor(modeFromName, "security mode", modeNames()));
    command.addOption("--user", "NAME", &options.user, "Log in with this name (default: anonymous)");
    command.addOption("--password", "TEXT", &options.password,
                      std::string("Password of that user. Everyone on this machine can see it in the list of "
                                  "processes: rather set ") +
                          passwordVariable + ", or be asked");
    command.addOption("--user-cert", "FILE", &options.userCertificate,
                      "Log in with this certificate (DER), or with \"default\": the one that the library "
                      "keeps, and makes for --user NAME when there is none");
    command.addOption("--user-key", "FILE", &options.userKey, "Its private key (PEM, not encrypted)");
    command.addOption(
        "--trust", "WHEN", [&trust = options.trust](int rule) { trust = static_cast<TrustRule>(rule); },
        "A server certificate that is not trusted: once, always (goes into the trust list) or "
        "never. Default: ask on a terminal, else never",
        numberOf(trustRules()));
    for (std::size_t i = earlier; i < command.options.size(); ++i)
        command.options[i].group = "Security";
}

} // namespace opcua_cli
