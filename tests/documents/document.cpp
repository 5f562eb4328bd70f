#include "documents/document.h"

#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

std::string textOf(const std::string& file) {
    const std::ifstream stream(std::string(SOURCE_DIRECTORY "/") + file);
    EXPECT_TRUE(stream) << file;
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::string unindented(const std::string& text) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t first = line.find_first_not_of(' ');
        result += (first == std::string::npos ? "" : line.substr(first)) + "\n";
    }
    return result;
}

std::vector<std::string> blocksOf(const std::string& text, const std::string& language) {
    std::vector<std::string> blocks;
    std::istringstream lines(text);
    bool inside = false;
    bool wanted = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("```", 0) == 0) {
            inside = !inside;
            wanted = inside && line.substr(3) == language;
            if (wanted)
                blocks.emplace_back();
        } else if (wanted) {
            blocks.back() += line + "\n";
        }
    }
    return blocks;
}
