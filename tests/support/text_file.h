#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <string>
#include <vector>

namespace test_support {

/// Empty for a file that is not there.
inline std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline std::vector<std::string> linesOf(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

inline long linesWith(const std::filesystem::path& file, const std::string& words) {
    const std::vector<std::string> lines = linesOf(file);
    return std::count_if(lines.begin(), lines.end(),
                         [&words](const std::string& line) { return line.find(words) != std::string::npos; });
}

} // namespace test_support
