#include "help_format.h"

#include <sstream>
#include <utility>

namespace app {
namespace {

constexpr std::size_t kColumns = 100;
constexpr std::size_t kNameColumns = 26;

class HelpFormat : public CLI::Formatter {
  public:
    HelpFormat() {
        column_width(kNameColumns);
        label("OPTIONS", "options");
        label("SUBCOMMAND", "COMMAND");
        label("Positionals", "Arguments");
    }

    std::string make_option_desc(const CLI::Option* option) const override {
        return BreakLines(option->get_description(), kColumns - kNameColumns);
    }

    /// One empty line between the groups, where the base leaves two.
    std::string make_help(const CLI::App* command, std::string name, CLI::AppFormatMode mode) const override {
        std::string help = CLI::Formatter::make_help(command, std::move(name), mode);
        for (std::size_t gap = 0; (gap = help.find("\n\n\n", gap)) != std::string::npos;) help.erase(gap, 1);
        return help;
    }

    std::string make_subcommand(const CLI::App* command) const override {
        std::stringstream out;
        CLI::detail::format_help(out, command->get_name(),
                                 BreakLines(command->get_description(), kColumns - kNameColumns), kNameColumns);
        return out.str();
    }

    std::string make_description(const CLI::App* command) const override {
        return BreakLines(command->get_description(), kColumns) + "\n\n";
    }
};

} // namespace

std::string BreakLines(const std::string& text, std::size_t width) {
    std::istringstream words(text);
    std::string lines;
    std::size_t column = 0;
    for (std::string word; words >> word;) {
        if (column != 0) {
            const bool fits = column + 1 + word.size() <= width;
            lines += fits ? ' ' : '\n';
            column = fits ? column + 1 : 0;
        }
        lines += word;
        column += word.size();
    }
    return lines;
}

std::shared_ptr<CLI::FormatterBase> MakeHelpFormat() { return std::make_shared<HelpFormat>(); }

} // namespace app
