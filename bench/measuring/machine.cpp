#include "measuring/machine.h"

#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <ios>
#include <sstream>
#include <string>
#include <sys/utsname.h>

#include <gnu/libc-version.h>
#include <open62541/config.h>

#include "measuring/placement.h"

namespace bench {
namespace {

/// The value of the first line `key<separator>value`, without quotes.
std::string valueIn(const char* file, const std::string& key, char separator) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        const std::size_t end = line.find(separator);
        if (line.compare(0, key.size(), key) == 0 && end != std::string::npos) {
            const std::size_t first = line.find_first_not_of(" \t\"", end + 1);
            const std::size_t last = line.find_last_not_of(" \t\"");
            return first == std::string::npos ? std::string() : line.substr(first, last - first + 1);
        }
    }
    return "unknown";
}

std::string kernel() {
    utsname names{};
    uname(&names);
    return std::string(names.sysname) + " " + names.release + " " + names.machine;
}

} // namespace

std::string machineFacts() {
    double load = 0;
    getloadavg(&load, 1);
    std::ostringstream text;
    text << "CPU     " << valueIn("/proc/cpuinfo", "model name", ':') << ", " << usableCpus().size()
         << " usable\n"
         << "system  " << valueIn("/etc/os-release", "PRETTY_NAME", '=') << ", " << kernel() << ", glibc "
         << gnu_get_libc_version() << "\n"
         << "build   open62541 " << UA_OPEN62541_VER_MAJOR << "." << UA_OPEN62541_VER_MINOR << "."
         << UA_OPEN62541_VER_PATCH << ", compiler " << __VERSION__ << ", " << OPCUACLIENT_BUILD_TYPE << "\n"
         << "load    " << std::fixed << std::setprecision(2) << load << " over the minute before\n";
    return text.str();
}

} // namespace bench
