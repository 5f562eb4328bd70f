#include "files/trace.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "OpcUaClientInterface.h"
#include "files/library_files.h"
#include "interrupt.h"
#include "output/terminal.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

namespace fs = std::filesystem;

constexpr off_t mostBytes = 1 << 20;
constexpr std::chrono::milliseconds timeBetweenLooks{50};

std::atomic<bool> held{false};

/// Of the file without a name. The library goes on asking for the path through it, on threads that outlive
/// every Trace: it stays open until another one takes its place there.
std::atomic<int> unseenDirectory{-1};

/// Who can write to the folder for temporary files may have put another one in its place. -1 for none.
int openOwnDirectory(const std::string& path) {
    const int directory = open(path.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat properties{};
    if (directory < 0 || (fstat(directory, &properties) == 0 && properties.st_uid == geteuid()))
        return directory;
    close(directory);
    return -1;
}

/// "2026-03-01T12:30:00.123Z [thread] LEVEL area | text"
std::optional<std::string> textOfProblem(const std::string& line) {
    const std::size_t level = line.find("] ");
    const std::size_t text = line.find(" | ");
    if (level == std::string::npos || text == std::string::npos)
        return std::nullopt;
    const bool isProblem =
        line.compare(level + 2, 6, "ERROR ") == 0 || line.compare(level + 2, 8, "WARNING ") == 0;
    return isProblem ? std::optional(line.substr(text + 3)) : std::nullopt;
}

/// Another value of a variable, until the object goes. One that was not there is empty then, which means the
/// same: other threads look for other variables, and find them where they were.
class ChangedVariable {
public:
    ChangedVariable(const char* name, const std::string& value) : m_name(name) {
        if (const char* before = std::getenv(name))
            m_before = before;
        setenv(name, value.c_str(), 1);
    }
    ~ChangedVariable() { setenv(m_name, m_before.c_str(), 1); }
    ChangedVariable(const ChangedVariable&) = delete;
    ChangedVariable& operator=(const ChangedVariable&) = delete;

private:
    const char* m_name;
    std::string m_before;
};

} // namespace

void GrowingFile::open(const fs::path& path, bool fromEnd) {
    m_path = path;
    m_file.emplace(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    m_done = fromEnd ? size() : 0;
}

off_t GrowingFile::size() const {
    if (!m_file)
        return 0;
    struct stat properties{};
    return fstat(m_file->number(), &properties) == 0 ? properties.st_size : 0;
}

/// A full file gets another name, and goes on under its own.
void GrowingFile::reopenWhenReplaced() {
    if (!m_file)
        return;
    struct stat named{};
    struct stat opened{};
    if (stat(m_path.c_str(), &named) == 0 && fstat(m_file->number(), &opened) == 0 &&
        named.st_ino != opened.st_ino)
        open(m_path, false);
}

std::string GrowingFile::newLines() {
    if (!m_file)
        return {};
    const off_t end = size();
    m_done = std::max(m_done, end - mostBytes);
    std::string text(static_cast<std::size_t>(std::max<off_t>(end - m_done, 0)), '\0');
    const ssize_t count = text.empty() ? 0 : pread(m_file->number(), text.data(), text.size(), m_done);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    text.resize(text.rfind('\n') + 1);
    m_done += static_cast<off_t>(text.size());
    if (text.empty())
        reopenWhenReplaced();
    return text;
}

/// Shows the lines on standard error as they come.
class Trace::Printer {
public:
    Printer(const fs::path& file, bool fromEnd) {
        m_file.open(file, fromEnd);
        m_thread = startThreadWithoutSignals([this] { run(); });
    }
    ~Printer() {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_ended = true;
        }
        m_end.notify_one();
        m_thread.join();
    }
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;

private:
    void run() {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_end.wait_for(lock, timeBetweenLooks, [this] { return m_ended; }))
            print();
        print();
    }

    void print() {
        if (held)
            return;
        std::istringstream lines(m_file.newLines());
        for (std::string line; std::getline(lines, line);)
            std::fprintf(stderr, "%s%s\n", m_canRedraw ? "\r\x1b[K" : "",
                         shownOn(STDERR_FILENO, printable(line)).c_str());
    }

    GrowingFile m_file;
    const bool m_canRedraw = terminalOn(STDERR_FILENO).canRedraw;
    std::mutex m_mutex;
    std::condition_variable m_end;
    bool m_ended = false;
    std::thread m_thread;
};

Trace::Trace() = default;
Trace::~Trace() = default;

void Trace::start(COpcUaClientInterface& client, const CommonOptions& options) {
    readEnvironment(); // before there are threads that would, while this one changes it
    m_isKept = options.traceLevel != 0;
    m_isShown = options.verbose;
    if (!m_isKept)
        return startUnseen(client);
    client.OpcUaInit(static_cast<_OpcUaClientTraceLevel>(options.traceLevel));
    follow(libraryFiles().trace, true);
}

void Trace::renew(COpcUaClientInterface& client) {
    if (!m_isKept && m_file.size() > mostBytes)
        startUnseen(client);
}

void Trace::startUnseen(COpcUaClientInterface& client) {
    std::error_code error;
    std::string path = (fs::temp_directory_path(error) / "opcua-cli.XXXXXX").string();
    const bool isMade = !error && mkdtemp(path.data()) != nullptr;
    const int directory = isMade ? openOwnDirectory(path) : -1;
    if (directory < 0)
        client.OpcUaInit(_OpcUaClientTraceLevel{});
    else
        startIn(client, directory);
    if (isMade)
        rmdir(path.c_str());
}

/// The library asks for the place of its trace as it starts it, and for that of everything else later. It
/// looks at the path before each line, and so does the reader: by the descriptor it leads to this directory
/// for ever, in which there can be no files any more, whoever makes another one of its name.
void Trace::startIn(COpcUaClientInterface& client, int directory) {
    const fs::path path = "/proc/self/fd/" + std::to_string(directory);
    {
        const ChangedVariable place(directoryVariable, path.string());
        client.OpcUaInit(m_isShown ? OpcUaTraceLevel_LifeCycle : OpcUaTraceLevel_Warnings);
    }
    const fs::path file = libraryFilesIn(path).trace;
    follow(file, false);
    unlinkat(directory, file.filename().c_str(), 0);
    const int before = unseenDirectory.exchange(directory);
    if (before >= 0)
        close(before);
}

void Trace::follow(const fs::path& file, bool fromEnd) {
    m_printer.reset();
    m_file.open(file, fromEnd);
    if (m_isShown)
        m_printer = std::make_unique<Printer>(file, fromEnd);
}

std::vector<std::string> Trace::newTexts() {
    std::vector<std::string> texts;
    std::istringstream lines(m_file.newLines());
    for (std::string line; std::getline(lines, line);)
        if (std::optional<std::string> text = textOfProblem(line))
            texts.push_back(std::move(*text));
    return texts;
}

void holdTrace(bool hold) {
    held = hold;
}

} // namespace opcua_cli
