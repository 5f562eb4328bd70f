#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "files/descriptor.h"
#include "options.h"

class COpcUaClientInterface;

namespace opcua_cli {

/// A file that another one writes to, line by line.
class GrowingFile {
public:
    /// What is in the file already is passed over when `fromEnd`.
    void open(const std::filesystem::path& path, bool fromEnd);
    /// Whole lines that came since the last call; of very many the last.
    std::string newLines();
    off_t size() const;

private:
    void reopenWhenReplaced();

    std::filesystem::path m_path;
    std::optional<Descriptor> m_file;
    off_t m_done = 0;
};

/// The trace that the library writes while a command runs. Unless the user wants to keep it (--trace) it goes
/// to a file without a name, which is gone with the process however that ends.
class Trace {
public:
    Trace();
    ~Trace();
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    /// Starts the library and its trace; with --verbose every line appears on standard error as it comes.
    /// Where there is no room for the file there is no trace.
    void start(COpcUaClientInterface& client, const CommonOptions& options);

    /// Starts it anew when it has become long: the library would give its file another name.
    void renew(COpcUaClientInterface& client);

    /// What went wrong since the last call: the texts of warnings and errors.
    std::vector<std::string> newTexts();

private:
    class Printer;

    void startUnseen(COpcUaClientInterface& client);
    void startIn(COpcUaClientInterface& client, int directory);
    void follow(const std::filesystem::path& file, bool fromEnd);

    bool m_isKept = false;
    bool m_isShown = false;
    GrowingFile m_file;
    std::unique_ptr<Printer> m_printer; ///< with --verbose
};

/// While a picture stands on the terminal, what --verbose shows is held back.
void holdTrace(bool hold);

} // namespace opcua_cli
