#pragma once

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

/// The definition that this program's own one hides.
template <typename Function>
Function nextDefinition(const char* symbol) {
    void* address = dlsym(RTLD_NEXT, symbol);
    if (!address)
        std::abort();
    Function function;
    static_assert(sizeof(function) == sizeof(address), "a function pointer is an address here");
    std::memcpy(&function, &address, sizeof(function));
    return function;
}
