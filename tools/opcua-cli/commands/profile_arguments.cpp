#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "OpcUaHelpers.h"
#include "addressing/node_reference.h"
#include "commands/arguments.h"
#include "files/profiles.h"

namespace opcua_cli {
namespace {

std::string urlOfEnvironment() {
    const char* url = std::getenv(urlVariable);
    return url != nullptr ? url : "";
}

bool agree(std::optional<int> policy, std::optional<int> mode) {
    return !policy || !mode || (*policy == OpcUaSecurityPolicy_None) == (*mode == OpcUaSecurityMode_None);
}

/// What the command line says stays, and of the profile what does not contradict it.
void fillFrom(SecurityOptions& security, const Profile& profile) {
    const std::optional<int> policy = security.policy;
    if (!policy && agree(profile.policy, security.mode))
        security.policy = profile.policy;
    if (!security.mode && agree(policy, profile.mode))
        security.mode = profile.mode;
    if (!security.user && !security.userCertificate)
        security.user = profile.user;
}

std::string urlOf(const Profile& profile) {
    std::string url = profile.url;
    const std::string problem = completeUrl(url);
    if (!problem.empty())
        throw failureAt(profile.place, problem);
    return url;
}

/// Something stands behind the URL there that may look like a node. Elsewhere that is a file of a command
/// without a URL of its own, or a mistake.
bool takesUrlAndMore(const std::string& command) {
    constexpr std::array<std::string_view, 8> commands{"browse", "find",    "monitor",  "read",
                                                       "record", "restore", "snapshot", "write"};
    return std::find(commands.begin(), commands.end(), command) != commands.end();
}

} // namespace

void useProfile(CommonOptions& options) {
    if (options.url == "@") {
        std::string url = urlOfEnvironment();
        if (url.empty() || url == "@")
            throw usageFailure(std::string("@ alone stands for ") + urlVariable + ", which is not set",
                               "@NAME for a profile");
        options.url = url[0] == '@' ? url : urlOf({url, {}, {}, {}, urlVariable});
    }
    if (options.url.empty() || options.url[0] != '@')
        return;
    const Profile profile = findProfile(options.url.substr(1));
    options.url = urlOf(profile);
    if (SecurityOptions* security = options.securityOptions())
        fillFrom(*security, profile);
}

std::vector<std::string> withUrl(std::vector<std::string> words) {
    if (words.size() >= 2 && takesUrlAndMore(words[0]) && looksLikeNode(words[1]) &&
        !urlOfEnvironment().empty())
        words.insert(words.begin() + 1, "@");
    return words;
}

} // namespace opcua_cli
