#include "security/names.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "OpcUaHelpers.h"

namespace opcua_cli {
namespace {

/// Names by the library's numbers.
using Names = std::vector<std::string>;

const Names policies{"None",           "Basic128Rsa15",         "Basic256",
                     "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"};
const Names modes{"None", "Sign", "SignAndEncrypt"};
const Names identities{"Anonymous", "UserName", "Certificate"};

constexpr std::string_view policyPrefix = "http://opcfoundation.org/UA/SecurityPolicy#";

std::string nameOf(const Names& names, int number) {
    const auto index = static_cast<std::size_t>(number);
    return index < names.size() ? names[index] : "unknown";
}

std::string listOf(const Names& names) {
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list;
}

/// What remains of a name when case and separators do not matter.
std::string plain(std::string_view name) {
    std::string text;
    for (const char character : name)
        if (character != '_' && character != '-')
            text += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    return text;
}

std::optional<int> numberOf(const Names& names, const std::string& wanted) {
    const auto found = std::find_if(names.begin(), names.end(),
                                    [&](const std::string& name) { return plain(name) == plain(wanted); });
    return found == names.end() ? std::nullopt : std::optional(static_cast<int>(found - names.begin()));
}

} // namespace

std::string modeName(int mode) {
    return nameOf(modes, mode);
}

std::string policyName(int policy, int mode) {
    return policy == OpcUaSecurityPolicy_None && mode != OpcUaSecurityMode_None ? "unknown"
                                                                                : nameOf(policies, policy);
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
