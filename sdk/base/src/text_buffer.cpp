#include "uabase/text_buffer.h"

#include <algorithm>
#include <cstring>

std::size_t UaBase_strlcat(char* target, const char* source, std::size_t capacity) {
    const std::size_t added = source != nullptr ? std::strlen(source) : 0;
    const std::size_t used = target != nullptr ? ::strnlen(target, capacity) : capacity;
    if (used >= capacity)
        return capacity + added;
    const std::size_t copied = std::min(added, capacity - used - 1);
    if (copied > 0)
        std::memcpy(target + used, source, copied);
    target[used + copied] = '\0';
    return used + added;
}
