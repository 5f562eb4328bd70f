#include "shell/position.h"

#include <cstddef>
#include <string>
#include <vector>

#include "addressing/node_reference.h"

namespace opcua_cli {

std::vector<std::string> stepsOf(const std::string& path) {
    std::vector<std::string> steps{""};
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (path[i] == '/') {
            steps.emplace_back();
            continue;
        }
        if (path[i] == '&' && i + 1 < path.size())
            steps.back() += path[i++];
        steps.back() += path[i];
    }
    return steps;
}

std::string nodeFrom(const std::string& position, const std::string& word) {
    const bool absolute = !word.empty() && word[0] == '/';
    if (!absolute && looksLikeNode(word))
        return word;
    std::vector<std::string> way = stepsOf(absolute ? "" : position);
    for (const std::string& step : stepsOf(word))
        if (step == ".." && way.size() > 1)
            way.pop_back();
        else if (!step.empty() && step != "." && step != "..")
            way.push_back(step);
    std::string path;
    for (std::size_t i = 1; i < way.size(); ++i)
        path += "/" + way[i];
    return path;
}

std::string shortStep(const std::string& browseName) {
    const std::string step = pathStepText(browseName).substr(1);
    const auto behindIndex = [](const std::string& text) {
        const std::size_t digits = text.find_first_not_of("0123456789");
        return digits != std::string::npos && digits > 0 && text[digits] == ':' ? digits + 1 : 0;
    };
    const std::string name = step.substr(behindIndex(step));
    return behindIndex(name) == 0 ? name : step;
}

} // namespace opcua_cli
