#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

#include "failure.h"
#include "files/descriptor.h"

namespace opcua_cli {

/// Stands for standard input where users name a file or a value.
constexpr const char* standardInput = "-";

/// A file as users name it on the command line, or standard input.
struct TextFile {
    std::string name; ///< for messages
    std::string text; ///< UTF-8, without a byte order mark
};

/// Throws Failure (Usage) when it cannot be read or is not UTF-8.
TextFile readTextFile(const std::string& path);

/// What is wrong with a text, and where.
struct FormatError : std::runtime_error {
    FormatError(std::size_t where, const std::string& reason) : std::runtime_error(reason), line(where) {}
    std::size_t line; ///< the first is 1
};

/// "plan.csv, line 3"
std::string placeIn(const TextFile& file, std::size_t line);

/// A failure that says where.
Failure failureAt(const std::string& place, const std::string& explanation, const std::string& advice = {});

/// Does something with what the user gave; what is wrong with it is told with the place in the file, if any.
template <typename Work>
auto inPlace(const std::string& place, const Work& work) {
    try {
        return work();
    } catch (const Failure& failure) {
        if (place.empty() || failure.exitCode() != ExitCode::Usage)
            throw;
        throw failureAt(place, failure.problem().explanation, failure.problem().advice);
    }
}

/// Does something with the file's text; a FormatError becomes a failure that names the file.
template <typename Work>
auto inFile(const TextFile& file, const Work& work) {
    try {
        return work();
    } catch (const FormatError& error) {
        throw failureAt(placeIn(file, error.line), error.what());
    }
}

/// A file that is written anew, in pieces. An old one stays whole until the new one is, which then belongs to
/// the same people, as far as the system lets this program say so. Throws Failure (OutputFailed).
class NewTextFile {
public:
    explicit NewTextFile(const std::string& path);
    /// Without finish() nothing is left of it.
    ~NewTextFile();
    NewTextFile(const NewTextFile&) = delete;
    NewTextFile& operator=(const NewTextFile&) = delete;

    void write(const std::string& text);
    void finish();

private:
    [[noreturn]] void fail() const;

    std::string m_path;   ///< as the user named it
    std::string m_target; ///< empty for a device, which is written to as it is
    std::string m_part{}; ///< takes the target's place in the end
    Descriptor m_file;
    bool m_isFinished = false;
};

/// Writes the file anew, or throws Failure (OutputFailed) and leaves an old one as it was.
void writeTextFile(const std::string& path, const std::string& text);

} // namespace opcua_cli
