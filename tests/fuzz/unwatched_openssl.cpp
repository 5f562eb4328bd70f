// OpenSSL makes hundreds of blocks for every use of a key. Without a look at each by the sanitizer ten times
// as many inputs can be tried; what this client makes is looked at all the same.

#include <cstddef>

#include <openssl/crypto.h>

#include "fuzz_target.h"

// NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier): the C library's
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_realloc(void* block, std::size_t size);
extern "C" void __libc_free(void* block);
// NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier)

namespace {

void* allocate(std::size_t size, const char*, int) {
    return __libc_malloc(size);
}
void* reallocate(void* block, std::size_t size, const char*, int) {
    return __libc_realloc(block, size);
}
void release(void* block, const char*, int) {
    __libc_free(block);
}

const int set = CRYPTO_set_mem_functions(allocate, reallocate, release);

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    require(set == 1, "OpenSSL has made no block yet");
    return 0;
}
