#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <ios>
#include <string>
#include <vector>

/// What is written to the trace file from now on: the program runs in a directory of its own, but may run
/// more than one case.
class TraceFile {
public:
    static std::filesystem::path path() {
        return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "OpcUaClient.log";
    }

    std::vector<std::string> lines() const {
        std::ifstream stream(path());
        stream.seekg(static_cast<std::streamoff>(m_start));
        std::vector<std::string> result;
        for (std::string line; std::getline(stream, line);)
            result.push_back(line);
        return result;
    }

    long linesWith(const std::string& text) const {
        const std::vector<std::string> all = lines();
        return std::count_if(all.begin(), all.end(), [&text](const std::string& line) {
            return line.find(text) != std::string::npos;
        });
    }

private:
    std::uintmax_t m_start = std::filesystem::exists(path()) ? std::filesystem::file_size(path()) : 0;
};
