// A server's whole byte stream on a channel without security (channel_script.h).

#include <cstddef>
#include <cstdint>

#include "channel_script.h"
#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ChannelSides sides(nullptr, OpcUa_MessageSecurityMode_None);
    ChannelScript(sides, Input(data, size)).run();
    return 0;
}
