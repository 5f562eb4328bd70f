#include <gtest/gtest.h>

#include "uabase/byte_array.h"
#include "uapki/certificate.h"
#include "uapki/provider.h"
#include "uastack/key.h"
#include "uastack/status_code.h"

namespace {

TEST(KeyRecord, HoldsACopyUntilItIsCleared) {
    OpcUa_Byte bytes[] = {1, 2, 3};
    OpcUa_Key key{};
    OpcUa_Key_Initialize(&key);
    EXPECT_EQ(key.type, static_cast<OpcUa_UInt32>(OpcUa_KeyType_Invalid));
    ASSERT_EQ(OpcUa_Key_Assign(&key, OpcUa_KeyType_RsaPrivate, bytes, sizeof(bytes)), OpcUa_Good);
    bytes[0] = 9;
    ASSERT_EQ(key.bytes.length, 3U);
    EXPECT_EQ(key.bytes.data[0], 1);
    EXPECT_EQ(key.type, 5U);
    OpcUa_Key_Clear(&key);
    EXPECT_EQ(key.type, static_cast<OpcUa_UInt32>(OpcUa_KeyType_Invalid));
    EXPECT_EQ(key.bytes.length, 0U);
    EXPECT_EQ(key.bytes.data, nullptr);
    OpcUa_Key_Clear(&key);
    OpcUa_Key_Initialize(nullptr);
    OpcUa_Key_Clear(nullptr);
}

/// Callers name these by their numbers.
TEST(KeyRecord, ItsConstantsHaveTheStacksNumbers) {
    EXPECT_EQ(static_cast<int>(OpcUa_KeyType_RsaPrivate), 5);
    EXPECT_EQ(static_cast<int>(OpcUa_KeyEncoding_Pem), 2);
    EXPECT_EQ(static_cast<int>(UaPkiCertificate::Sha256), 3);
}

TEST(ByteArray, HexadecimalTextIsUpperCase) {
    const OpcUa_Byte bytes[] = {0x00, 0x1F, 0xAB};
    const UaByteArray array(bytes, 3);
    EXPECT_EQ(array.toHex(false), "001FAB");
    EXPECT_EQ(array.toHex(true), "00 1F AB");
    EXPECT_EQ(UaByteArray(bytes, 0).toHex(true), "");
    EXPECT_EQ(UaByteArray(nullptr, 3).toHex(false), "");
    EXPECT_EQ(UaByteArray(bytes, -1).size(), 0);
}

} // namespace
