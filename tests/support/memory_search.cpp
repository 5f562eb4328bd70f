#include "support/memory_search.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <ios>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace test_support {
namespace {

constexpr unsigned char disguise = 0xA5;
constexpr std::size_t windowSize = std::size_t{1} << 20;

/// A part of this process's memory.
struct Region {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    std::string name;
};

std::vector<Region> regions() {
    std::vector<Region> found;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        Region region;
        char dash = 0;
        std::string rights;
        std::string skipped;
        std::istringstream text(line);
        text >> std::hex >> region.begin >> dash >> region.end >> rights >> skipped >> skipped >> skipped >>
            region.name;
        if (rights[0] == 'r' && region.name != "[vvar]" && region.name != "[vsyscall]")
            found.push_back(region);
    }
    return found;
}

/// What of a region is looked at now. It lies outside of what is searched.
class Window {
public:
    Window()
        : m_bytes(static_cast<unsigned char*>(
              ::mmap(nullptr, windowSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
          m_memory(::open("/proc/self/mem", O_RDONLY | O_CLOEXEC)) {
        if (m_bytes == MAP_FAILED || m_memory < 0)
            throw std::runtime_error("this process's memory cannot be read");
    }
    ~Window() {
        ::close(m_memory);
        ::munmap(m_bytes, windowSize);
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    const unsigned char* bytes() const { return m_bytes; }
    /// How many bytes there are.
    std::size_t moveTo(std::uintptr_t address, std::uintptr_t end) const {
        const auto own = reinterpret_cast<std::uintptr_t>(m_bytes);
        if (address >= own && address < own + windowSize)
            return 0;
        const std::size_t size = end - address < windowSize ? end - address : windowSize;
        const ssize_t count = ::pread(m_memory, m_bytes, size, static_cast<off_t>(address));
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

private:
    unsigned char* m_bytes;
    int m_memory;
};

bool isAt(const unsigned char* bytes, const std::vector<unsigned char>& disguised) {
    for (std::size_t i = 0; i < disguised.size(); ++i)
        if ((bytes[i] ^ disguise) != disguised[i])
            return false;
    return true;
}

std::string placeIn(const Region& region, std::uintptr_t address) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), " +%zx", static_cast<std::size_t>(address - region.begin));
    return (region.name.empty() ? "anonymous memory" : region.name) + text.data();
}

void searchWindow(const Region& region, const Window& window, std::uintptr_t address, std::size_t size,
                  const std::vector<unsigned char>& disguised, std::vector<std::string>& places) {
    const unsigned char* const end = window.bytes() + size;
    for (const unsigned char* position = window.bytes(); position + disguised.size() <= end; ++position) {
        position = static_cast<const unsigned char*>(
            std::memchr(position, disguised[0] ^ disguise, static_cast<std::size_t>(end - position)));
        if (position == nullptr || position + disguised.size() > end)
            return;
        if (isAt(position, disguised))
            places.push_back(placeIn(region, address + static_cast<std::size_t>(position - window.bytes())));
    }
}

} // namespace

Secret Secret::text(std::size_t length) {
    Secret secret;
    std::random_device random;
    for (std::size_t i = 0; i < length; ++i)
        secret.m_disguised.push_back(static_cast<unsigned char>(('a' + random() % 26) ^ disguise));
    return secret;
}

std::vector<Secret> Secret::fromChild(const std::function<std::vector<std::string>()>& find) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        for (const std::string& text : find()) {
            for (const char byte : text)
                ::dprintf(ends[1], "%02x", static_cast<unsigned char>(byte) ^ disguise);
            ::dprintf(ends[1], "\n");
        }
        ::_exit(0);
    }
    ::close(ends[1]);
    std::string answer;
    std::array<char, 4096> part{};
    for (ssize_t count = 0; (count = ::read(ends[0], part.data(), part.size())) > 0;)
        answer.append(part.data(), static_cast<std::size_t>(count));
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    std::vector<Secret> secrets;
    std::istringstream lines(answer);
    for (std::string line; std::getline(lines, line);) {
        Secret secret;
        for (std::size_t i = 0; i + 1 < line.size(); i += 2) {
            secret.m_disguised.push_back(
                static_cast<unsigned char>(std::strtoul(line.substr(i, 2).c_str(), nullptr, 16)));
        }
        secrets.push_back(secret);
    }
    if (secrets.empty())
        throw std::runtime_error("the child has found no secret");
    return secrets;
}

void Secret::copyTo(char* target) const {
    for (std::size_t i = 0; i < size(); ++i)
        target[i] = static_cast<char>(m_disguised[i] ^ disguise);
}

void Secret::writeTo(const std::string& file, const std::string& start) const {
    std::array<char, 256> line{};
    start.copy(line.data(), start.size());
    copyTo(line.data() + start.size());
    const std::size_t length = start.size() + size();
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const bool written = ::write(descriptor, line.data(), length) == static_cast<ssize_t>(length);
    ::close(descriptor);
    explicit_bzero(line.data(), line.size());
    if (!written)
        throw std::runtime_error("cannot write " + file);
}

std::vector<std::string> Secret::places() const {
    if (size() < 2)
        throw std::logic_error("so little is found everywhere");
    const std::vector<unsigned char> rest(m_disguised.begin() + 1, m_disguised.end());
    std::vector<std::string> places;
    const Window window;
    for (const Region& region : regions()) {
        for (std::uintptr_t address = region.begin; address < region.end;) {
            const std::size_t size = window.moveTo(address, region.end);
            searchWindow(region, window, address, size, rest, places);
            const bool isLast = size < windowSize || address + size >= region.end;
            address += isLast ? region.end - address : size - rest.size() + 1;
        }
    }
    return places;
}

} // namespace test_support
