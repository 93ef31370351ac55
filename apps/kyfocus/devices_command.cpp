#include "devices_command.h"

#include <cstdio>
#include <memory>

#include <nlohmann/json.hpp>

#include "errors.h"

namespace app {
namespace {

std::string Padded(std::string name) {
    constexpr std::size_t kWidth = 11;
    name.resize(kWidth, ' ');
    return name;
}

std::string Line(const BackEnd& backEnd) {
    std::string text = Padded(backEnd.Name);
    text += backEnd.IsAvailable ? "available" : "not available: " + backEnd.Reason;
    text += '\n';
    for (const std::string& detail : backEnd.Details) text.append(Padded("")).append(detail).append(1, '\n');
    return text;
}

std::string Chosen(const BackEnd& cuda, const BackEnd& openCl) {
    if (cuda.IsAvailable) return cuda.Name;
    return openCl.IsAvailable ? openCl.Name : "processor";
}

nlohmann::ordered_json ToJson(const BackEnd& backEnd) {
    nlohmann::ordered_json json{{"available", backEnd.IsAvailable}};
    if (!backEnd.IsAvailable) json["reason"] = backEnd.Reason;
    if (!backEnd.Details.empty()) json["details"] = backEnd.Details;
    return json;
}

} // namespace

void AddDevicesCommand(CLI::App& program) {
    const auto isJson = std::make_shared<bool>(false);
    CLI::App* const command = program.add_subcommand(
        "devices", "Tells which graphics processors compose --mode 3d and complex can compute on, and why not.");
    command->add_flag("--json", *isJson, "Print a JSON object.");
    command->footer("The library takes CUDA where it is available, else OpenCL, else the processor; compose --gpu and "
                    "--no-gpu narrow the choice.");
    command->callback([isJson] {
        const BackEnd cuda = ProbeCuda();
        const BackEnd openCl = ProbeOpenCl();
        const std::string text = *isJson ? FormatDevicesJson(cuda, openCl) : DescribeDevices(cuda, openCl);
        if (std::fputs(text.c_str(), stdout) < 0) throw Failure("standard output: list cannot be written");
    });
}

std::string DescribeDevices(const BackEnd& cuda, const BackEnd& openCl) {
    return Line(cuda) + Line(openCl) + Padded("processor") + "available\n\ncompose takes: " + Chosen(cuda, openCl) +
           "\n";
}

std::string FormatDevicesJson(const BackEnd& cuda, const BackEnd& openCl) {
    const nlohmann::ordered_json json{
        {"cuda", ToJson(cuda)}, {"opencl", ToJson(openCl)}, {"chosen", Chosen(cuda, openCl)}};
    // Names of devices are what drivers say: bytes that are no text are replaced.
    return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

} // namespace app
