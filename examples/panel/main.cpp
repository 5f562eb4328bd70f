// A small panel for a console: shows what changes in a folder, writes the set point that the operator types,
// asks him whether to trust the server, and goes on by itself after outages and restarts. Ends with its
// input.
//
//     PANEL_PASSWORD=plant panel opc.tcp://localhost:4840 'ns=2;s=Line1' 'ns=2;s=Line1.SpeedSetpoint'
//     operator
//
// docs/panel.md explains it step by step.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "OpcUaClientInterface.h"
#include "OpcUaHelpers.h"
#include "panel.h"

namespace {

/// False when a text has no room in the record.
bool describeServer(const char* url, const char* user, _OpcUaClientConfig& server) {
    bool fits = OpcUaSetField(server.endpointUrl, url);
    server.securityPolicy = OpcUaSecurityPolicy_Basic256Sha256;
    server.securityMode = OpcUaSecurityMode_SignAndEncrypt;
    if (user != nullptr) {
        const char* const password = std::getenv("PANEL_PASSWORD");
        server.userIdentity = OpcUaUserIdentity_UserName;
        fits = fits && OpcUaSetField(server.userName, user);
        fits = fits && OpcUaSetField(server.password, password != nullptr ? password : "");
    }
    return fits;
}

} // namespace

int main(int argc, char** argv) {
    _OpcUaClientConfig server{};
    if (argc < 4 || argc > 5 || !describeServer(argv[1], argv[4], server)) {
        std::fprintf(stderr, "usage: [PANEL_PASSWORD=...] panel URL FOLDER SETPOINT [USER]\n");
        return 2;
    }
    Panel panel(server, argv[2], argv[3]);
    for (std::string line; std::getline(std::cin, line);)
        panel.enter(line);
    return 0;
}
