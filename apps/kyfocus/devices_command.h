/// `kyfocus devices`: what the 3D modes can compute on.
#ifndef KYFOCUS_APP_DEVICES_COMMAND_H
#define KYFOCUS_APP_DEVICES_COMMAND_H

#include <string>

#include <CLI/CLI.hpp>

#include "gpu_probe.h"

namespace app {

/// Adds the sub-command.
void AddDevicesCommand(CLI::App& program);

/// The table for people, and the object for programs, each with its line end.
std::string DescribeDevices(const BackEnd& cuda, const BackEnd& openCl);
std::string FormatDevicesJson(const BackEnd& cuda, const BackEnd& openCl);

} // namespace app

#endif
