#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Appends `text` as a trace shows it: one line, valid UTF-8, nothing that drives a terminal or turns the
/// direction of writing. What is not fit for it is written out, a byte as \x9B, a character as \u202E. At
/// most `limit` bytes are appended, cut between characters.
void appendTraceText(std::string_view text, std::size_t limit, std::string& line);
