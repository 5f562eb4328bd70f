#include "security/options.h"

#include <cstddef>
#include <cstdlib>
#include <optional>
#include <string>

#include "OpcUaHelpers.h"
#include "OpcUaTypes.h"
#include "failure.h"
#include "interrupt.h"
#include "output/dialogue.h"
#include "security/names.h"

namespace opcua_cli {
namespace {

constexpr const char* defaultCertificate = "default";
constexpr std::size_t longestName = sizeof _OpcUaClientConfig::userName - 1;
constexpr std::size_t longestPassword = sizeof _OpcUaClientConfig::password - 1;

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
    if ((security.policy == OpcUaSecurityPolicy_None) == (security.mode == OpcUaSecurityMode_None))
        return;
    if (security.policy == OpcUaSecurityPolicy_None)
        throw usageFailure("with the policy None nothing can be signed or encrypted",
                           "another --policy, or --mode None");
    throw usageFailure("the policy " + policyName(security.policy, security.mode) +
                           " needs a mode that uses it",
                       "--mode Sign or SignAndEncrypt, or --policy None");
}

} // namespace

std::string Security::text() const {
    const std::string result = policy == OpcUaSecurityPolicy_None
                                   ? "without security"
                                   : policyName(policy, mode) + ", " + modeName(mode);
    if (identity == OpcUaUserIdentity_UserName)
        return result + ", user " + user;
    return result + (identity == OpcUaUserIdentity_Certificate ? ", user certificate" : ", anonymous");
}

Security securityFor(const SecurityOptions& options) {
    throwIfUserMakesNoSense(options);
    Security security;
    security.user = options.user.value_or("");
    if (options.userCertificate)
        security.identity = OpcUaUserIdentity_Certificate;
    else if (options.user)
        security.identity = OpcUaUserIdentity_UserName;
    if (options.userKey)
        security.userCertificate = {*options.userCertificate, *options.userKey};
    checkUserCertificate(security.userCertificate);
    // A password must not travel unprotected because somebody forgot an option.
    const bool wantsProtection = security.identity != OpcUaUserIdentity_Anonymous;
    const bool secured = options.policy
                             ? *options.policy != OpcUaSecurityPolicy_None
                             : options.mode.value_or(wantsProtection ? 1 : 0) != OpcUaSecurityMode_None;
    security.policy =
        options.policy.value_or(secured ? OpcUaSecurityPolicy_Basic256Sha256 : OpcUaSecurityPolicy_None);
    security.mode =
        options.mode.value_or(secured ? OpcUaSecurityMode_SignAndEncrypt : OpcUaSecurityMode_None);
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
