#include "security/options.h"

#include "OpcUaTypes.h"
#include "failure.h"
#include "interrupt.h"
#include "output/dialogue.h"
#include "security/names.h"

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace opcua_cli {
namespace {

constexpr const char* passwordVariable = "OPCUA_CLI_PASSWORD";
constexpr const char* defaultCertificate = "default";
constexpr std::size_t longestName = sizeof _OpcUaClientConfig::userName - 1;
constexpr std::size_t longestPassword = sizeof _OpcUaClientConfig::password - 1;

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

void throwIfTooLong(const char* what, const std::string& text, std::size_t longest) {
    if (text.size() > longest)
        throw usageFailure(std::string("the ") + what + " is longer than " + std::to_string(longest) +
                           " bytes");
}

void throwIfUserCertificateMakesNoSense(const SecurityOptions& options) {
    const bool ofTheLibrary = options.userCertificate == defaultCertificate;
    if (options.userKey.has_value() != (options.userCertificate && !ofTheLibrary))
        throw usageFailure("a user certificate and its private key belong together",
                           "--user-cert FILE --user-key FILE, or --user-cert default");
    if (options.userCertificate && options.password)
        throw usageFailure("a user logs in with a certificate or with a password, not with both");
    if (options.userKey && options.user)
        throw usageFailure("the name of a user with a certificate is in the certificate", "leave --user out");
}

void throwIfUserMakesNoSense(const SecurityOptions& options) {
    throwIfUserCertificateMakesNoSense(options);
    if (options.password && !options.user)
        throw usageFailure("--password without a user name", "--user NAME");
    if (options.user && options.user->empty())
        throw usageFailure("the user name is empty", "leave --user out to connect anonymously");
    throwIfTooLong("user name", options.user.value_or(""), longestName);
}

void throwIfChannelMakesNoSense(const Security& security) {
    if ((security.policy == PolicyNone) == (security.mode == ModeNone))
        return;
    if (security.policy == PolicyNone)
        throw usageFailure("with the policy None nothing can be signed or encrypted",
                           "another --policy, or --mode None");
    throw usageFailure("the policy " + policyName(security.policy, security.mode) +
                           " needs a mode that uses it",
                       "--mode Sign or SignAndEncrypt, or --policy None");
}

} // namespace

std::string Security::text() const {
    std::string result =
        policy == PolicyNone ? "without security" : policyName(policy, mode) + ", " + modeName(mode);
    if (identity == IdentityUserName)
        return result + ", user " + user;
    return result + (identity == IdentityCertificate ? ", user certificate" : ", anonymous");
}

void addSecurityOptions(CLI::App& command, SecurityOptions& options) {
    constexpr const char* group = "Security";
    command
        .add_option("--policy", options.policy,
                    policyNames() +
                        "; Aes128 and Aes256 will do. Default: Basic256Sha256 with a --mode or a user, else "
                        "None")
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
        .add_option(
            "--user-cert", options.userCertificate,
            "Log in with this certificate (DER), or with \"default\": the one that the library keeps, and "
            "makes for --user NAME when there is none")
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

Security securityFor(const SecurityOptions& options) {
    throwIfUserMakesNoSense(options);
    Security security;
    security.user = options.user.value_or("");
    if (options.userCertificate)
        security.identity = IdentityCertificate;
    else if (options.user)
        security.identity = IdentityUserName;
    if (options.userKey)
        security.userCertificate = {*options.userCertificate, *options.userKey};
    checkUserCertificate(security.userCertificate);
    // A password must not travel unprotected because somebody forgot an option.
    const bool wantsProtection = security.identity != IdentityAnonymous;
    const bool secured = options.policy ? *options.policy != PolicyNone
                                        : options.mode.value_or(wantsProtection ? 1 : 0) != ModeNone;
    security.policy = options.policy.value_or(secured ? PolicyBasic256Sha256 : PolicyNone);
    security.mode = options.mode.value_or(secured ? ModeSignAndEncrypt : ModeNone);
    throwIfChannelMakesNoSense(security);
    return security;
}

std::string passwordFor(const SecurityOptions& options) {
    std::optional<std::string> password = options.password;
    const char* variable = std::getenv(passwordVariable);
    if (!password && variable != nullptr)
        password = variable;
    const std::string name = options.user.value_or("");
    if (!password && canAsk()) {
        password = askSecret("Password of " + name + ": ");
        throwIfInterrupted();
    }
    if (!password)
        throw usageFailure("there is no password for the user " + name,
                           std::string("the environment variable ") + passwordVariable + ", or --password");
    throwIfTooLong("password", *password, longestPassword);
    return *password;
}

} // namespace opcua_cli
