#include "socket/endpoint_url.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <strings.h>
#include <system_error>

namespace UaClientSdk {
namespace {

constexpr std::string_view scheme = "opc.tcp://";
/// OPC UA Part 6, 7.1.2.3: servers refuse a longer one.
constexpr std::size_t longestUrl = 4096;

bool parsePort(std::string_view text, std::uint16_t& port) {
    const char* const end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(text.data(), end, port);
    return error == std::errc() && behind == end && port != 0;
}

/// A zero would end a host's name before its end.
bool isControlCharacter(char character) {
    return static_cast<unsigned char>(character) < ' ' || character == '\x7F';
}

} // namespace

UaStatus EndpointUrl::parse(const UaString& url, EndpointUrl& result) {
    const UaStatus invalid = UA_STATUSCODE_BADTCPENDPOINTURLINVALID;
    std::string_view rest = url.text();
    if (rest.size() > longestUrl || rest.size() < scheme.size() ||
        strncasecmp(rest.data(), scheme.data(), scheme.size()) != 0 ||
        std::any_of(rest.begin(), rest.end(), isControlCharacter)) {
        return invalid;
    }
    rest.remove_prefix(scheme.size());
    rest = rest.substr(0, rest.find('/'));
    const bool bracketed = !rest.empty() && rest.front() == '[';
    const std::size_t hostEnd = bracketed ? rest.find(']') : rest.find(':');
    if (bracketed && hostEnd == std::string_view::npos)
        return invalid;
    const std::string_view host = bracketed ? rest.substr(1, hostEnd - 1) : rest.substr(0, hostEnd);
    const std::size_t behindHost = bracketed ? hostEnd + 1 : std::min(hostEnd, rest.size());
    const std::string_view port = rest.substr(behindHost);
    if (host.empty() || (!port.empty() && port.front() != ':'))
        return invalid;
    result = EndpointUrl();
    result.host = host;
    return port.size() <= 1 || parsePort(port.substr(1), result.port) ? UaStatus() : invalid;
}

} // namespace UaClientSdk
