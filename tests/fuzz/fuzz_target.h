#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// What is called for every input: by libFuzzer, or by the replay of the seeds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Ends the program with the input kept when something does not hold that holds for every input.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

inline std::string_view asText(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Takes the front of a text up to the next `end` off it; all of it when there is none.
inline std::string_view takeUntil(char end, std::string_view& text) {
    const std::string_view front = text.substr(0, text.find(end));
    text.remove_prefix(front.size() < text.size() ? front.size() + 1 : front.size());
    return front;
}
