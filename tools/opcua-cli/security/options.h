#pragma once

#include <optional>
#include <string>

#include "security/trust.h"
#include "security/user_certificate.h"

namespace opcua_cli {

/// What the user asked for.
struct SecurityOptions {
    std::optional<int> policy;
    std::optional<int> mode;
    std::optional<std::string> user;
    std::optional<std::string> password;
    std::optional<std::string> userCertificate;
    std::optional<std::string> userKey;
    TrustRule trust = TrustRule::Ask;

    bool isWanted() const { return policy || mode || user || userCertificate; }
};

/// What is used: the options with everything decided that they leave open.
struct Security {
    int policy = 0;
    int mode = 0;
    int identity = 0;
    std::string user;
    UserCertificate userCertificate{};

    /// "Basic256Sha256, SignAndEncrypt, user operator"
    std::string text() const;
};

/// Where a password is looked for that is no option.
constexpr const char* passwordVariable = "OPCUA_CLI_PASSWORD";

/// A user without a word on the rest gets Basic256Sha256 and SignAndEncrypt, a policy SignAndEncrypt, a mode
/// Basic256Sha256. Throws a usage failure for what does not go together.
Security securityFor(const SecurityOptions& options);

/// The password of the user: the option, the environment, or what a person types. Throws a usage failure when
/// there is none, and Failure (Interrupted).
std::string passwordFor(const SecurityOptions& options);

} // namespace opcua_cli
