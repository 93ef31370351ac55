/// Help texts whose descriptions are broken into lines.
#ifndef KYFOCUS_APP_HELP_FORMAT_H
#define KYFOCUS_APP_HELP_FORMAT_H

#include <memory>
#include <string>

#include <CLI/CLI.hpp>

namespace app {

/// Text broken at blanks into lines of at most `width` characters; a longer word has a line of its own.
std::string BreakLines(const std::string& text, std::size_t width);

/// The layout of all help texts of the program: option names on the left, descriptions beside them.
std::shared_ptr<CLI::FormatterBase> MakeHelpFormat();

} // namespace app

#endif
