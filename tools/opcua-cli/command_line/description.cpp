#include <algorithm>
#include <string>
#include <utility>

#include "command_line/command_line.h"

namespace opcua_cli {

Option& Command::addOption(const std::string& names, const std::string& type, Target target,
                           const std::string& explanation, Check check) {
    return options.emplace_back(Option{names, type, std::move(target), explanation, std::move(check)});
}

Option& Command::addPositional(const std::string& names, Target target, const std::string& explanation,
                               Check check) {
    return addOption(names, "", std::move(target), explanation, std::move(check));
}

Option& Command::addFlag(const std::string& names, Target target, const std::string& explanation,
                         Check check) {
    Option& option = addOption(names, "", std::move(target), explanation, std::move(check));
    option.isFlag = true;
    return option;
}

Option* Command::find(const std::string& names) {
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&](const Option& option) { return option.names == names; });
    return found == options.end() ? nullptr : &*found;
}

void Command::remove(const std::string& names) {
    options.erase(std::remove_if(options.begin(), options.end(),
                                 [&](const Option& option) { return option.names == names; }),
                  options.end());
}

} // namespace opcua_cli
