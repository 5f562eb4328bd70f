#pragma once

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/temporary_directory.h"

/// examples/panel with a keyboard, as the user "operator" of the plant. It runs as a copy: its trace file and
/// its certificates go with the directory.
class RunningPanel {
public:
    static constexpr std::chrono::seconds limit{60};

    RunningPanel(const std::string& url, const std::string& folder, const std::string& setPoint) {
        const std::string program = m_directory.path() / "panel";
        const std::string keyboard = m_directory.path() / "keyboard";
        std::filesystem::copy_file(PANEL, program);
        if (mkfifo(keyboard.c_str(), 0600) != 0)
            throw std::runtime_error("cannot make a FIFO");
        // Opened both ways, so that nobody has to wait for the other end.
        m_keyboard.reset(open(keyboard.c_str(), O_RDWR | O_CLOEXEC));
        const std::string command = R"(export PANEL_PASSWORD=plant; exec "$0" "$@" <)" + keyboard;
        m_process.emplace(
            "sh", std::vector<std::string>{"-c", command, program, url, folder, setPoint, "operator"});
    }

    void type(const std::string& line) {
        const std::string text = line + "\n";
        ASSERT_EQ(write(m_keyboard.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    /// The next line that begins so. Values never end, so that waiting has to.
    std::string await(const std::string& beginning) {
        const auto end = std::chrono::steady_clock::now() + limit;
        std::string passed;
        while (std::chrono::steady_clock::now() < end) {
            const std::string line = nextLine();
            if (line.compare(0, beginning.size(), beginning) == 0)
                return line;
            passed += line + "\n";
        }
        throw std::runtime_error("no line \"" + beginning + "\" among\n" + passed);
    }
    std::string nextLine() { return m_process->waitForLine(limit); }

    test_support::ProcessEnd endOfInput() {
        m_keyboard.reset();
        const auto end = m_process->wait(limit);
        return end ? *end : throw std::runtime_error(m_process->describe("did not end with its input"));
    }

    std::filesystem::path trustList() const { return m_directory.path() / "pkiclient/trusted/certs"; }

private:
    test_support::TemporaryDirectory m_directory;
    test_support::Descriptor m_keyboard;
    std::optional<test_support::ChildProcess> m_process;
};
