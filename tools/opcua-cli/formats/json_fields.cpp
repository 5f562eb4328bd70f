#include "json_fields.h"

#include <string>

namespace opcua_cli {

std::string textField(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return {};
    if (!found->is_string())
        throw usageFailure("\"" + std::string(key) + "\" is no text");
    return found->get<std::string>();
}

const Json& valueField(const Json& object) {
    const auto found = object.find("value");
    if (found == object.end() || found->is_null())
        throw usageFailure("there is no \"value\"");
    return *found;
}

} // namespace opcua_cli
