#pragma once

#include <optional>
#include <string>

namespace opcua_cli {

/// True when there is a person to ask: standard input and standard error are terminals, and no LiveScreen has
/// them.
bool canAsk();

/// Waits for standard input: true when there is some, or its end; false once Ctrl-C was pressed.
bool awaitInput();

/// The next line of standard input, without its end. Nothing when the input ends or Ctrl-C is pressed.
std::optional<std::string> readLine();

/// Shows the question on standard error and returns the line that was typed, without its end. Nothing when
/// the input ends or Ctrl-C is pressed.
std::optional<std::string> ask(const std::string& question);

/// As ask(), and what is typed does not show.
std::optional<std::string> askSecret(const std::string& question);

} // namespace opcua_cli
