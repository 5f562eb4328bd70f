#include "command_line/command_line.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <CLI/CLI.hpp>

#include "failure.h"

namespace opcua_cli {
namespace {

class Formatter : public CLI::Formatter {
public:
    explicit Formatter(const HelpForm& form) : m_blanksForUnderscores(form.blanksForUnderscores) {
        column_width(form.column);
    }

    /// Without the text that a flag stands for.
    std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
        std::string name = CLI::Formatter::make_option_name(option, isPositional);
        name.erase(std::min(name.find('{'), name.size()));
        if (m_blanksForUnderscores)
            std::replace(name.begin(), name.end(), '_', ' ');
        return name;
    }

    /// As before CLI11 2.4, which writes " [default] ".
    std::string make_option_opts(const CLI::Option* option) const override {
        std::string text = CLI::Formatter::make_option_opts(option);
        const std::string newer = " [" + option->get_default_str() + "] ";
        const std::size_t place = text.find(newer);
        return place == text.npos ? text : text.replace(place, newer.size(), "=" + option->get_default_str());
    }

private:
    bool m_blanksForUnderscores;
};

CLI::Option* bind(CLI::App& command, const Option& option) {
    const auto bindTo = [&](const auto& target) {
        using Type = std::decay_t<decltype(target)>;
        if constexpr (std::is_same_v<Type, std::function<void(int)>>) {
            return command.add_option_function<int>(option.names, target, option.description);
        } else if constexpr (std::is_same_v<Type, bool*>) {
            return command.add_flag(option.names, *target, option.description);
        } else {
            if constexpr (std::is_same_v<Type, std::string*>) {
                if (option.isFlag)
                    return command.add_flag(option.names, *target, option.description);
            }
            return command.add_option(option.names, *target, option.description);
        }
    };
    return std::visit(bindTo, option.target);
}

/// CLI11 takes "[1,2]" apart where it takes any number of words. So it gets no more of them than it is told
/// to wait for, which are more than anybody has.
void takeWordByWord(CLI::Option& option) {
    constexpr int most = 1 << 20;
    option.multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->expected(most, CLI::detail::expected_max_vector_size)
        ->allow_extra_args(false);
}

void declare(CLI::App& command, const Option& option) {
    CLI::Option& described = *bind(command, option);
    described.required(option.required)->envname(option.environment);
    if (option.wordByWord)
        takeWordByWord(described);
    if (!option.isFlag)
        described.type_name(option.type);
    if (!option.group.empty())
        described.group(option.group);
    if (!option.excludes.empty())
        described.excludes(command.get_option(option.excludes));
    if (!option.standard.empty())
        described.default_val(option.standard);
    if (option.check)
        described.transform(CLI::Validator(option.check, ""));
}

void declare(CLI::App& app, const Command& command) {
    CLI::App& described = *app.add_subcommand(command.name, command.description);
    described.footer(command.footer)->callback(command.chosen);
    for (const Option& option : command.options)
        declare(described, option);
}

void declare(CLI::App& app, const Program& program) {
    app.name(program.name)->description(program.description)->footer(program.footer);
    if (!program.version.empty())
        app.set_version_flag("--version", program.version);
    if (program.isSingleCommand)
        app.require_subcommand(1);
    app.formatter(std::make_shared<Formatter>(program.helpForm));
    for (const Command& command : program.commands)
        declare(app, command);
}

} // namespace

Check inRange(int least, int greatest) {
    return CLI::Range(least, greatest);
}

Check inRange(double least, double greatest) {
    return CLI::Range(least, greatest);
}

Check notNegative() {
    return CLI::NonNegativeNumber;
}

Check numberOf(const std::map<std::string, int>& names) {
    return CLI::CheckedTransformer(names, CLI::ignore_case);
}

std::optional<std::string> takeWords(const Program& program, std::vector<std::string> words,
                                     const std::string& advice) {
    CLI::App app;
    declare(app, program);
    std::reverse(words.begin(), words.end());
    try {
        app.parse(std::move(words));
        return std::nullopt;
    } catch (const CLI::Success& askedFor) {
        std::ostringstream text;
        app.exit(askedFor, text, text);
        return text.str();
    } catch (const CLI::ParseError& error) {
        throw usageFailure(error.what(), advice);
    }
}

std::string helpOf(const Program& program, const Command& command) {
    CLI::App app;
    declare(app, program);
    return app.get_subcommand(command.name)->help();
}

} // namespace opcua_cli
