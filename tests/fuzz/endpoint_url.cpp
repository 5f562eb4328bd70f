// A URL that a server or an application names: what it is taken apart into names the same again.

#include "socket/endpoint_url.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_target.h"

using namespace UaClientSdk;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t longest = 4000; // with room for another port and path
    const std::string text(asText(data, std::min(size, longest)));
    EndpointUrl url;
    if (EndpointUrl::parse(UaString(text), url).isBad())
        return 0;
    require(!url.host.empty() && url.port != 0, "a URL names a host and a port");
    require(text.find(url.host) != std::string::npos, "the host stands in the URL");
    require(url.host.find('/') == std::string::npos, "the host ends where the path begins");
    const bool bracketed = url.host.find(':') != std::string::npos || url.host.front() == '[';
    const std::string host = bracketed ? '[' + url.host + ']' : url.host;
    for (const char* path : {"", "/", "/a:1/[b]"}) {
        EndpointUrl again;
        require(
            EndpointUrl::parse(UaString("opc.tcp://" + host + ':' + std::to_string(url.port) + path), again)
                .isGood(),
            "host and port make a URL");
        require(again.host == url.host && again.port == url.port, "which names the same");
    }
    return 0;
}
