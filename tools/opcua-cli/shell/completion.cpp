#include "shell/completion.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "output/terminal.h"
#include "shell/position.h"
#include "shell/words.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

/// The text as it is typed behind an open quote, or without one.
std::string typed(std::string_view text, char quote) {
    const std::string_view special = quote == '"' ? "\"\\" : " \t'\"\\#";
    std::string result;
    for (const char character : text) {
        if (quote != '\'' && special.find(character) != std::string_view::npos)
            result += '\\';
        result += character;
    }
    return result;
}

std::string commonBeginning(const std::vector<std::string>& names) {
    std::string common = names.front();
    for (const std::string& name : names) {
        const auto [end, other] = std::mismatch(common.begin(), common.end(), name.begin(), name.end());
        common.erase(end, common.end());
    }
    return std::string(withoutCutCharacter(common));
}

} // namespace

Completion complete(const std::string& before, const Vocabulary& vocabulary) {
    Words split = splitWords(before);
    if (!split.unfinished)
        split.words.emplace_back();
    const std::string& word = split.words.back();
    const bool isCommand = split.words.size() == 1 || (split.words.size() == 2 && split.words[0] == "help");
    const std::size_t begin = isCommand ? 0 : word.size() - stepsOf(word).back().size();
    const std::string prefix = word.substr(begin);
    Completion completion;
    for (const std::string& name :
         isCommand ? vocabulary.commands : vocabulary.children(word.substr(0, begin))) {
        // A name that would steer the terminal is left to those who type it.
        if (name.compare(0, prefix.size(), prefix) == 0 && shownOn(STDOUT_FILENO, printable(name)) == name)
            completion.candidates.push_back(name);
    }
    if (completion.candidates.empty())
        return completion;
    const std::string common = commonBeginning(completion.candidates);
    if (common.size() > prefix.size())
        completion.rest = typed(std::string_view(common).substr(prefix.size()), split.quote);
    if (completion.candidates.size() == 1 && common.back() != '/')
        completion.rest += split.quote != 0 ? std::string{split.quote, ' '} : " ";
    return completion;
}

} // namespace opcua_cli
