/// Options with checks whose messages tell what was expected.
#ifndef KYFOCUS_APP_OPTION_KINDS_H
#define KYFOCUS_APP_OPTION_KINDS_H

#include <functional>
#include <map>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

namespace app {

/// Adds an option that takes one of a few names.
template <typename Value>
CLI::Option* AddChoice(CLI::App& command, const std::string& name, const std::map<std::string, Value>& choices,
                       const std::function<void(const Value&)>& choose, const std::string& description) {
    const auto check = [choices](const std::string& text) {
        if (choices.contains(text)) return std::string();
        std::string names;
        for (const auto& choice : choices) names.append(names.empty() ? "" : ", ").append(choice.first);
        return "'" + text + "' is not one of " + names;
    };
    const auto take = [choices, choose](const std::string& text) { choose(choices.at(text)); };
    return command.add_option_function<std::string>(name, take, description)->check(check);
}

/// Adds an option that takes a whole number from `least` to `most`.
CLI::Option* AddInteger(CLI::App& command, const std::string& name, int& value, int least, int most,
                        const std::string& description);

/// Adds an option that takes a finite number.
CLI::Option* AddFinite(CLI::App& command, const std::string& name, std::optional<double>& value,
                       const std::string& description);

/// A check for file names: an empty one is a slip of the shell, such as a variable that is not set.
std::string RequireText(const std::string& text);

/// The same for units.
std::string RequireUnit(const std::string& text);

} // namespace app

#endif
