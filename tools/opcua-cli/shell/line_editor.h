#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "shell/completion.h"

namespace opcua_cli {

/// Lines that a person types on the terminal of standard input, with the keys of Emacs, history and
/// completion.
class LineEditor {
public:
    using Complete = std::function<Completion(const std::string& before)>;

    explicit LineEditor(Complete complete);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// The next line, without its end. Nothing when the input ends or Ctrl-C is pressed.
    std::optional<std::string> read(const std::string& prompt);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace opcua_cli
