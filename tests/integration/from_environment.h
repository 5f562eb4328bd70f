#pragma once

#include <cstdlib>

/// A number that whoever runs the tests may choose.
inline unsigned fromEnvironment(const char* name, unsigned otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}
