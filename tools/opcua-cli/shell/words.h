#pragma once

#include <string>
#include <vector>

namespace opcua_cli {

/// A line as far as it was typed, taken apart as a shell does.
struct Words {
    std::vector<std::string> words{}; ///< without quotes
    bool unfinished = false;          ///< the last word may go on: no blank is behind it
    char quote = 0;                   ///< the one that is still open, or 0
};

/// Blanks part words; '...' and "..." hold them together, a backslash takes the meaning from what follows (in
/// '...' it stands for itself), and # begins a remark.
Words splitWords(const std::string& line);

/// The same for a whole line. Throws Failure (Usage) when a quote is not closed.
std::vector<std::string> wordsOf(const std::string& line);

} // namespace opcua_cli
