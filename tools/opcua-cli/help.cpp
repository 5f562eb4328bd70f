#include "help.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "failure.h"
#include "output/terminal.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

/// Where the text of the last column begins.
std::size_t lastColumn(const std::string& line) {
    const std::size_t gap = line.rfind("  ");
    return gap == std::string::npos ? 0 : std::min(gap + 2, line.size());
}

void wrapLine(std::string line, std::size_t width, std::string& result) {
    const std::size_t text = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t column = std::max(lastColumn(line), text);
    const bool isCommand = column == text && text == 2; // an example without remark
    const std::string indent(column <= width / 2 && !isCommand ? column : text + 2, ' ');
    while (displayWidth(line) > width) {
        const std::size_t end = line.rfind(' ', width);
        const std::size_t begin =
            std::max(text, line.compare(0, indent.size(), indent) == 0 ? indent.size() : 0);
        if (end == std::string::npos || end < begin)
            break;
        result.append(line, 0, line.find_last_not_of(' ', end) + 1).append("\n");
        line.replace(0, std::min(line.find_first_not_of(' ', end), line.size()), indent);
    }
    result.append(line).append("\n");
}

/// Letters to change, add or leave out to make one word of the other.
std::size_t distance(const std::string& one, const std::string& other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= one.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            const std::size_t changed = diagonal + (one[i - 1] == other[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

std::vector<std::string> commandNames(const Program& program) {
    std::vector<std::string> names;
    for (const Command& command : program.commands)
        names.push_back(command.name);
    return names;
}

/// The command that is probably meant, or empty.
std::string nameLike(const std::vector<std::string>& names, const std::string& word) {
    constexpr std::size_t mostMistakes = 2;
    std::string likely;
    std::size_t least = mostMistakes + 1;
    for (const std::string& name : names) {
        const bool begins = word.size() > 1 && name.compare(0, word.size(), word) == 0;
        const std::size_t mistakes = begins ? 0 : distance(word, name);
        if (mistakes < std::min(least, name.size() - 1)) {
            least = mistakes;
            likely = name;
        }
    }
    return likely;
}

void throwUnlessCommand(const Program& program, const std::string& word) {
    const std::vector<std::string> names = commandNames(program);
    if (std::find(names.begin(), names.end(), word) != names.end())
        return;
    const std::string likely = nameLike(names, word);
    throw usageFailure("there is no command \"" + word + "\"" +
                           (likely.empty() ? "" : "; did you mean '" + likely + "'?"),
                       "opcua-cli --help, which lists the commands");
}

} // namespace

void fitHelp(Program& program) {
    HelpForm& form = program.helpForm;
    const std::optional<std::size_t> width = terminalOn(STDOUT_FILENO).width;
    if (width && *width != 0)
        form.column = std::min(form.column, *width / 3);
    form.blanksForUnderscores = false;
}

std::string wrapped(const std::string& text, std::size_t width) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        wrapLine(line, width, result);
    return result;
}

std::vector<std::string> commandLine(const Program& program, int count, char** arguments) {
    std::vector<std::string> words(arguments + std::min(count, 1), arguments + count);
    if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        words.insert(words.begin() + (words.empty() ? 0 : 1), "--help");
    }
    if (!words.empty() && words.front().substr(0, 1) != "-")
        throwUnlessCommand(program, words.front());
    return words;
}

} // namespace opcua_cli
