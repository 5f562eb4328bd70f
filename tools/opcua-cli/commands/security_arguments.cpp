#include "commands/arguments.h"
#include "security/names.h"

#include <map>
#include <optional>
#include <string>

namespace opcua_cli {
namespace {

const std::map<std::string, TrustRule>& trustRules() {
    static const std::map<std::string, TrustRule> rules{
        {"once", TrustRule::Once}, {"always", TrustRule::Always}, {"never", TrustRule::Never}};
    return rules;
}

using FromName = std::optional<int> (*)(const std::string&);

/// Replaces a name by its number.
CLI::Validator numberFor(FromName fromName, const std::string& what, const std::string& names) {
    return {[=](std::string& text) -> std::string {
                const std::optional<int> number = fromName(text);
                if (!number)
                    return "no " + what + " is called " + text + "; there are " + names;
                text = std::to_string(*number);
                return {};
            },
            ""};
}

} // namespace

void addSecurityOptions(CLI::App& command, SecurityOptions& options) {
    constexpr const char* group = "Security";
    command
        .add_option(
            "--policy", options.policy,
            policyNames() +
                "; Aes128 and Aes256 will do. Default: Basic256Sha256 with a --mode or a user, else None")
        ->type_name("POLICY")
        ->transform(numberFor(policyFromName, "security policy", policyNames()))
        ->group(group);
    command.add_option("--mode", options.mode, modeNames() + ". Default: SignAndEncrypt with a policy")
        ->type_name("MODE")
        ->transform(numberFor(modeFromName, "security mode", modeNames()))
        ->group(group);
    command.add_option("--user", options.user, "Log in with this name (default: anonymous)")
        ->type_name("NAME")
        ->group(group);
    command
        .add_option("--password", options.password,
                    std::string("Password of that user. Everyone on this machine can see it in the list of "
                                "processes: rather set ") +
                        passwordVariable + ", or be asked")
        ->type_name("TEXT")
        ->group(group);
    command
        .add_option("--user-cert", options.userCertificate,
                    "Log in with this certificate (DER), or with \"default\": the one that the library "
                    "keeps, and makes for --user NAME when there is none")
        ->type_name("FILE")
        ->group(group);
    command.add_option("--user-key", options.userKey, "Its private key (PEM, not encrypted)")
        ->type_name("FILE")
        ->group(group);
    command
        .add_option("--trust", options.trust,
                    "A server certificate that is not trusted: once, always (goes into the trust list) or "
                    "never. Default: ask on a terminal, else never")
        ->type_name("WHEN")
        ->transform(CLI::CheckedTransformer(trustRules(), CLI::ignore_case).description(""))
        ->group(group);
}

} // namespace opcua_cli
