// A server's whole byte stream on a secured channel: the first byte says how it is secured, the rest is the
// script (channel_script.h), whose chunks are protected with fixed keys before they arrive.

#include <cstddef>
#include <cstdint>

#include "channel_script.h"
#include "fuzz_target.h"

namespace {

const ChannelSides& sidesFor(unsigned int security) {
    constexpr OpcUa_MessageSecurityMode sign = OpcUa_MessageSecurityMode_Sign;
    constexpr OpcUa_MessageSecurityMode encrypt = OpcUa_MessageSecurityMode_SignAndEncrypt;
    static const ChannelSides sides[]{
        {"Basic128Rsa15", sign},
        {"Basic128Rsa15", encrypt},
        {"Basic256Sha256", sign},
        {"Basic256Sha256", encrypt},
    };
    return sides[security % 4];
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const ChannelSides& sides = sidesFor(input.number<std::uint8_t>());
    ChannelScript(sides, input).run();
    return 0;
}
