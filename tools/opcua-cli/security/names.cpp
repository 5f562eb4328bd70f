#include "security/names.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace opcua_cli {
namespace {

constexpr std::array<const char*, 6> policies{
    "None", "Basic128Rsa15", "Basic256", "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"};
constexpr std::array<const char*, 3> modes{"None", "Sign", "SignAndEncrypt"};
constexpr std::array<const char*, 3> identities{"Anonymous", "UserName", "Certificate"};

constexpr std::string_view policyPrefix = "http://opcfoundation.org/UA/SecurityPolicy#";

template <std::size_t Size>
std::string nameOf(const std::array<const char*, Size>& names, int number) {
    return number >= 0 && number < static_cast<int>(Size) ? names[static_cast<std::size_t>(number)]
                                                          : "unknown";
}

template <std::size_t Size>
std::string listOf(const std::array<const char*, Size>& names) {
    std::string list;
    for (const char* name : names)
        list.append(list.empty() ? "" : ", ").append(name);
    return list;
}

/// What remains of a name when case and separators do not matter.
std::string plain(std::string_view name) {
    std::string text;
    for (const char character : name) {
        if (character != '_' && character != '-')
            text += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return text;
}

template <std::size_t Size>
std::optional<int> numberOf(const std::array<const char*, Size>& names, const std::string& wanted) {
    const auto found = std::find_if(names.begin(), names.end(),
                                    [&](const char* name) { return plain(name) == plain(wanted); });
    if (found == names.end())
        return std::nullopt;
    return static_cast<int>(found - names.begin());
}

} // namespace

std::string modeName(int mode) {
    return nameOf(modes, mode);
}

std::string policyName(int policy, int mode) {
    return policy == PolicyNone && mode != ModeNone ? "unknown" : nameOf(policies, policy);
}

std::string identityName(int identity) {
    return nameOf(identities, identity);
}

std::optional<int> modeFromName(const std::string& name) {
    return numberOf(modes, name);
}

std::optional<int> policyFromName(const std::string& name) {
    const bool isUri = name.compare(0, policyPrefix.size(), policyPrefix) == 0;
    const std::string wanted = plain(isUri ? name.substr(policyPrefix.size()) : name);
    if (wanted == "aes128")
        return numberOf(policies, "Aes128_Sha256_RsaOaep");
    if (wanted == "aes256")
        return numberOf(policies, "Aes256_Sha256_RsaPss");
    return numberOf(policies, wanted);
}

std::string modeNames() {
    return listOf(modes);
}

std::string policyNames() {
    return listOf(policies);
}

} // namespace opcua_cli
