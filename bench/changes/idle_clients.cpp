#include "changes/idle_clients.h"

#include <chrono>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "facade/facade_client.h"
#include "measuring/process_figures.h"
#include "raw/raw_client.h"
#include "raw/raw_driver.h"
#include "support/child_process.h"

namespace bench {
namespace {

constexpr const char* rawKind = "raw";
constexpr const char* libraryKind = "library";

/// A raw client whose loop runs.
class DrivenRawClient {
public:
    explicit DrivenRawClient(const std::string& url) : m_client(url), m_driver(m_client) {}

private:
    RawClient m_client;
    RawDriver m_driver;
};

template <typename Client>
IdleCost costOf(const std::string& url, int count, std::chrono::milliseconds duration) {
    const Client first(url); // what the libraries need once is not the cost of a client
    const double bytesBefore = residentBytes();
    std::vector<std::unique_ptr<Client>> clients;
    clients.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        clients.push_back(std::make_unique<Client>(url));
    const double cpuBefore = cpuSeconds();
    std::this_thread::sleep_for(duration);
    const double minutes = std::chrono::duration<double>(duration).count() / 60;
    const double cpu = (cpuSeconds() - cpuBefore) / minutes / (count + 1);
    return {(residentBytes() - bytesBefore) / count, cpu};
}

class IdleProcess {
public:
    IdleProcess(const char* kind, const std::string& url, int clients, std::chrono::milliseconds duration)
        : m_process("/proc/self/exe", {idleClientsOption, kind, url, std::to_string(clients),
                                       std::to_string(duration.count())}) {}

    IdleCost cost(std::chrono::milliseconds limit) {
        std::istringstream line(m_process.waitForLine(limit));
        IdleCost cost;
        if (!(line >> cost.bytes >> cost.cpuSecondsPerMinute))
            throw std::runtime_error(m_process.describe("wrote no cost"));
        return cost;
    }

private:
    test_support::ChildProcess m_process;
};

} // namespace

IdleClients measureIdleClients(const std::string& url, int clients, std::chrono::milliseconds duration) {
    const std::chrono::milliseconds limit = duration + std::chrono::seconds(60);
    IdleProcess raw(rawKind, url, clients, duration);
    IdleProcess library(libraryKind, url, clients, duration);
    return {raw.cost(limit), library.cost(limit)};
}

int runIdleClients(const std::vector<std::string>& arguments) {
    const std::string& kind = arguments.at(0);
    const std::string& url = arguments.at(1);
    const int count = std::stoi(arguments.at(2));
    const std::chrono::milliseconds duration(std::stol(arguments.at(3)));
    const IdleCost cost = kind == rawKind ? costOf<DrivenRawClient>(url, count, duration)
                                          : costOf<FacadeClient>(url, count, duration);
    std::cout << std::setprecision(12) << cost.bytes << " " << cost.cpuSecondsPerMinute << '\n' << std::flush;
    return 0;
}

} // namespace bench
