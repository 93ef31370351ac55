/// `kyfocus params`: what a parameter file holds, key by key.
#ifndef KYFOCUS_APP_PARAMS_COMMAND_H
#define KYFOCUS_APP_PARAMS_COMMAND_H

#include <string>

#include <CLI/CLI.hpp>

#include "parameter_file.h"

namespace app {

/// Adds the sub-command. Its callback prints to stdout and throws Failure.
void AddParamsCommand(CLI::App& program);

/// A table with a line a key, and a line for what needs one besides.
std::string DescribeParameters(const ParameterFile& file);

} // namespace app

#endif
