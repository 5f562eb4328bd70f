#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace test_support {

/// Bytes that this process holds in disguise alone, so that every place where they are found in its memory is
/// somebody else's copy.
class Secret {
public:
    /// Of `length` random characters.
    static Secret text(std::size_t length);
    /// What `find` gives in a child process, whose memory goes with it. Throws when there is nothing.
    static std::vector<Secret> fromChild(const std::function<std::vector<std::string>()>& find);

    std::size_t size() const { return m_disguised.size(); }
    /// Writes the bytes to where the caller wants to have them, and wipes them.
    void copyTo(char* target) const;
    /// Writes them, in a line behind `start`, into a new file.
    void writeTo(const std::string& file, const std::string& start) const;

    /// Where they are in this process's memory: "[heap] +1234" and so on. The first byte may be missing: a
    /// text that was emptied, and not wiped, has a zero there.
    std::vector<std::string> places() const;

private:
    std::vector<unsigned char> m_disguised;
};

} // namespace test_support
