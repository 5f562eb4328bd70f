#include "key_record.h"

#include "rsa_private_key.h"
#include "uabase/byte_view.h"

namespace pki {

KeyPtr readRsaPrivateKey(const OpcUa_Key& record) {
    return record.type == OpcUa_KeyType_RsaPrivate ? readRsaPrivateKey(UaByteView(record.bytes)) : nullptr;
}

} // namespace pki
