#include "shell/words.h"

#include <cstddef>
#include <string>
#include <vector>

#include "failure.h"

namespace opcua_cli {

Words splitWords(const std::string& line) {
    Words split;
    const auto word = [&]() -> std::string& {
        if (!split.unfinished)
            split.words.emplace_back();
        split.unfinished = true;
        return split.words.back();
    };
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char character = line[i];
        if (split.quote == 0 && (character == ' ' || character == '\t' || character == '\r')) {
            split.unfinished = false;
        } else if (split.quote == 0 && !split.unfinished && character == '#') {
            return split;
        } else if (character == split.quote) {
            split.quote = 0;
        } else if (split.quote == 0 && (character == '\'' || character == '"')) {
            split.quote = character;
            word();
        } else if (character == '\\' && split.quote != '\'' && i + 1 < line.size()) {
            word() += line[++i];
        } else {
            word() += character;
        }
    }
    return split;
}

std::vector<std::string> wordsOf(const std::string& line) {
    const Words split = splitWords(line);
    if (split.quote != 0)
        throw usageFailure(std::string("a quote is not closed: ") + split.quote);
    return split.words;
}

} // namespace opcua_cli
