#include "option_kinds.h"

#include <cmath>

namespace app {

CLI::Option* AddInteger(CLI::App& command, const std::string& name, int& value, int least, int most,
                        const std::string& description) {
    const auto check = [least, most](const std::string& text) {
        int number = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, number);
        if (isNumber && number >= least && number <= most) return std::string();
        return "'" + text + "' is not a whole number from " + std::to_string(least) + " to " + std::to_string(most);
    };
    return command.add_option(name, value, description)->check(check);
}

CLI::Option* AddFinite(CLI::App& command, const std::string& name, std::optional<double>& value,
                       const std::string& description) {
    const auto check = [](const std::string& text) {
        double number = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, number) && std::isfinite(number);
        return isNumber ? std::string() : "'" + text + "' is not a number";
    };
    return command.add_option(name, value, description)->check(check);
}

std::string RequireText(const std::string& text) { return text.empty() ? "an empty name, expected a file" : ""; }

std::string RequireUnit(const std::string& text) {
    return text.empty() ? "an empty unit, expected one such as um" : "";
}

} // namespace app
