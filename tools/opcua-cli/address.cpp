#include "address.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace opcua_cli {

Address addressIn(std::string_view url) {
    std::string_view rest = url.substr(std::min(urlScheme.size(), url.size()));
    rest = rest.substr(0, rest.find('/'));
    const bool bracketed = !rest.empty() && rest.front() == '[';
    const std::size_t end = std::min(bracketed ? rest.find(']') : rest.find(':'), rest.size());
    const std::string_view host = bracketed ? rest.substr(1, end - 1) : rest.substr(0, end);
    const std::size_t colon = rest.find(':', end);
    const std::string_view port = colon == std::string_view::npos ? "" : rest.substr(colon + 1);
    return {std::string(host), port.empty() ? "4840" : std::string(port)};
}

} // namespace opcua_cli
