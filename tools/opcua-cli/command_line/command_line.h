#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace opcua_cli {

/// Looks at the text of a value, and may put another in its place; what is wrong with it, or nothing.
using Check = std::function<std::string(std::string& text)>;

Check inRange(int least, int greatest);
Check inRange(double least, double greatest);
Check notNegative();
/// Puts the number in place of a name, in upper or lower case; the number itself will do, too.
Check numberOf(const std::map<std::string, int>& names);

/// Where a value goes. What is there is kept when none is given.
using Target = std::variant<bool*, int*, std::size_t*, double*, std::string*, std::vector<std::string>*,
                            std::optional<int>*, std::optional<double>*, std::optional<std::string>*,
                            std::function<void(int)>>;

struct Option {
    std::string names; ///< "-n,--count"; "NODE" for one that is told by its place
    std::string type;  ///< what the help calls its value
    Target target;
    std::string description;
    Check check{};
    bool isFlag = false;
    bool required = false;
    bool wordByWord = false;   ///< "[1,2]" is one value, not two
    std::string group{};       ///< heading in the help, where it is not the usual one
    std::string environment{}; ///< variable that speaks where the option is not given
    std::string excludes{};    ///< an earlier option that cannot be given as well
    std::string standard{};    ///< shown in the help, and taken where the option is not given
};

struct Command {
    std::string name;
    std::string description;
    std::string footer;           ///< of its help
    std::function<void()> chosen; ///< called when the command was given
    std::deque<Option> options{};

    /// Each is valid until one is removed.
    Option& addOption(const std::string& names, const std::string& type, Target target,
                      const std::string& explanation, Check check = {});
    Option& addPositional(const std::string& names, Target target, const std::string& explanation,
                          Check check = {});
    /// "--wait{endlessly}" is a flag that stands for a text, and can be given another: --wait=5.
    Option& addFlag(const std::string& names, Target target, const std::string& explanation,
                    Check check = {});

    /// Null where there is none. The names are those that it was added with.
    Option* find(const std::string& names);
    void remove(const std::string& names);
};

struct HelpForm {
    std::size_t column = 30;          ///< where descriptions begin
    bool blanksForUnderscores = true; ///< in the names of options
};

/// What can be called, by a line in a shell or as a program.
struct Program {
    std::string name{};
    std::string description{};
    std::string version{}; ///< what --version shows; empty for no such option
    std::string footer{};
    bool isSingleCommand = false; ///< a line has to have one command, and no more
    HelpForm helpForm{};
    std::deque<Command> commands{};
};

/// Stores the values of a line and calls what is to be done for its command; or gives the help or the
/// version, where that is asked for. Throws Failure (Usage) with the advice.
std::optional<std::string> takeWords(const Program& program, std::vector<std::string> words,
                                     const std::string& advice);

/// The help of one of the program's commands.
std::string helpOf(const Program& program, const Command& command);

} // namespace opcua_cli
