#include "output/json.h"

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "text/utf8.h"

namespace opcua_cli {

Json toJson(const Problem& problem) {
    return {{"code", problem.resultCode == 0 ? Json(nullptr) : Json(problem.resultCode)},
            {"message", problem.storedMessage.empty() ? Json(nullptr) : Json(problem.storedMessage)},
            {"explanation", problem.explanation},
            {"advice", problem.advice}};
}

Json toJson(const std::optional<Problem>& problem) {
    return problem ? toJson(*problem) : Json(nullptr);
}

std::string document(const Json& json) {
    return printableJson(json.dump(2, ' ', false, Json::error_handler_t::replace)) + "\n";
}

std::string compactJson(const Json& json) {
    return printableJson(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string documentLine(const Json& json) {
    return compactJson(json) + "\n";
}

} // namespace opcua_cli
