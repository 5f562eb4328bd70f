// A private key's file: it gives a key or a status, and never asks anybody for a password.

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_target.h"
#include "memory_file.h"
#include "uapki/provider.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    static UaPkiProviderOpenSSL provider("", "");
    file.setContent(data, size);
    OpcUa_Key key{};
    OpcUa_Key_Initialize(&key);
    const UaStatus status =
        provider.loadPrivateKey(UaString(file.path()), OpcUa_KeyEncoding_Pem, "password", &key);
    require(status.isGood() == (key.type != OpcUa_KeyType_Invalid), "there is a key exactly when it is good");
    OpcUa_Key_Clear(&key);
    return 0;
}
