#pragma once

#include <string>
#include <vector>

/// A file of the project.
std::string textOf(const std::string& file);

/// Without the blanks before each line, where indentation does not count.
std::string unindented(const std::string& text);

/// What stands between lines "```" with this language.
std::vector<std::string> blocksOf(const std::string& text, const std::string& language);
