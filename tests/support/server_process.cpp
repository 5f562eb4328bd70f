#include "support/server_process.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace test_support {
namespace {

const std::string scheme = "opc.tcp://";

std::vector<std::string> withPlantDefaults(const std::vector<std::string>& options) {
    std::vector<std::string> all{"--port", "0", "--die-with-parent"};
    all.insert(all.end(), options.begin(), options.end());
    return all;
}

} // namespace

ServerProcess::ServerProcess(const std::string& program, const std::vector<std::string>& arguments,
                             std::chrono::milliseconds limit)
    : m_process(program, arguments), m_readinessLine(m_process.waitForLine(limit)) {
    const std::size_t start = m_readinessLine.find(scheme);
    const std::size_t colon = m_readinessLine.rfind(':');
    if (start == std::string::npos || colon < start + scheme.size())
        throw std::runtime_error(
            m_process.describe("wrote no line that ends with an opc.tcp URL, but: " + m_readinessLine));
    m_url = m_readinessLine.substr(start);
    m_port = static_cast<std::uint16_t>(std::stoul(m_readinessLine.substr(colon + 1)));
}

ServerProcess::~ServerProcess() {
    m_process.signal(SIGTERM);
    m_process.signal(SIGCONT);
    m_process.wait(stopLimit);
}

ProcessEnd ServerProcess::stop() {
    return kill(SIGTERM);
}

ProcessEnd ServerProcess::kill(int signal) {
    m_process.signal(signal);
    return waitForEnd();
}

ProcessEnd ServerProcess::waitForEnd(std::chrono::milliseconds limit) {
    const std::optional<ProcessEnd> end = m_process.wait(limit);
    if (!end)
        throw std::runtime_error(m_process.describe("did not end in time"));
    return *end;
}

PlantServer::PlantServer(const std::vector<std::string>& options)
    : ServerProcess(program(), withPlantDefaults(options)) {}

std::string PlantServer::program() {
#ifdef PLANT_SERVER_PROGRAM
    return PLANT_SERVER_PROGRAM;
#else
    throw std::runtime_error("this build has no plant server (OPCUACLIENT_BUILD_DEMO is off)");
#endif
}

} // namespace test_support
