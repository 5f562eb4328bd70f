// A program linked to the library, whose client lives as long as the process.
//   static_client_probe [URL]     with a URL it ends while connected
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "OpcUaClientInterface.h"

namespace {

COpcUaClientInterface client;

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        _OpcUaClientConfig config = {};
        config.timeout = 20000;
        std::strncpy(config.endpointUrl, argv[1], sizeof config.endpointUrl - 1);
        if (client.OpcUaConnect(config) != 0) {
            std::fputs("connect failed\n", stderr);
            return 1;
        }
    }
    std::puts("done");
    std::exit(0);
}
