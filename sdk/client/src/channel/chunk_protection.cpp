#include "channel/chunk_protection.h"

#include <cstdint>
#include <cstring>

#include "channel/chunk_reader.h"
#include "encoding/wire.h"

namespace UaClientSdk {
namespace {

constexpr std::size_t block = UaPkiSecurityPolicy::encryptionBlockLength;
constexpr std::size_t paddingSizeLength = 1;

} // namespace

ChunkProtection::ChunkProtection(const UaPkiSecurityPolicy& policy, OpcUa_MessageSecurityMode mode)
    : m_signs(!policy.isNone() && mode != OpcUa_MessageSecurityMode_None),
      m_encrypts(m_signs && mode == OpcUa_MessageSecurityMode_SignAndEncrypt),
      m_signatureLength(m_signs ? policy.signatureLength : 0) {}

std::size_t ChunkProtection::bodyRoom(std::size_t chunkSize) const {
    std::size_t protectedSize = chunkSize - symmetricHeaderLength;
    if (m_encrypts)
        protectedSize = protectedSize / block * block - paddingSizeLength;
    return protectedSize - sequenceHeaderLength - m_signatureLength;
}

std::size_t ChunkProtection::seal(OpcUa_Byte* chunk, std::size_t bodySize, UaPkiSymmetricKeys& keys) const {
    std::size_t size = bodyOffset + bodySize;
    if (m_encrypts) {
        const std::size_t unpadded = sequenceHeaderLength + bodySize + paddingSizeLength + m_signatureLength;
        const std::size_t padding = (block - unpadded % block) % block;
        // The size itself counts as the first of the padding's bytes.
        std::memset(chunk + size, static_cast<int>(padding), paddingSizeLength + padding);
        size += paddingSizeLength + padding;
    }
    const std::size_t signedSize = size;
    size += m_signatureLength;
    writeUInt32(chunk + 4, static_cast<std::uint32_t>(size));
    if (m_signs && !keys.sign({chunk, signedSize}, chunk + signedSize))
        return 0;
    if (m_encrypts && !keys.encrypt(chunk + symmetricHeaderLength, size - symmetricHeaderLength))
        return 0;
    return size;
}

UaStatus ChunkProtection::open(OpcUa_Byte* chunk, std::size_t size, UaPkiSymmetricKeys& keys,
                               UaByteView& sequenced) const {
    const UaStatus refused = UA_STATUSCODE_BADSECURITYCHECKSFAILED;
    if (m_encrypts) {
        const std::size_t encrypted = size - symmetricHeaderLength;
        if (encrypted % block != 0 || !keys.decrypt(chunk + symmetricHeaderLength, encrypted))
            return refused;
    }
    if (size < bodyOffset + m_signatureLength)
        return refused;
    std::size_t end = size - m_signatureLength;
    if (m_signs && !keys.verify({chunk, end}, {chunk + end, m_signatureLength}))
        return refused;
    if (m_encrypts) {
        const std::size_t padding = chunk[end - 1] + paddingSizeLength;
        if (end < bodyOffset + padding)
            return refused;
        end -= padding;
    }
    sequenced = {chunk + symmetricHeaderLength, end - symmetricHeaderLength};
    return UaStatus();
}

} // namespace UaClientSdk
