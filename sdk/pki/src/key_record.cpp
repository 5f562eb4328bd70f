#include "key_record.h"

namespace pki {

KeyPtr readRsaPrivateKey(const OpcUa_Key& record) {
    if (record.type != OpcUa_KeyType_RsaPrivate) {
        return nullptr;
    }
    ErrorQueueGuard guard;
    const unsigned char* position = record.bytes.data;
    KeyPtr key(d2i_PrivateKey(EVP_PKEY_RSA, nullptr, &position, static_cast<long>(record.bytes.length)));
    return position == record.bytes.data + record.bytes.length ? std::move(key) : nullptr;
}

} // namespace pki
