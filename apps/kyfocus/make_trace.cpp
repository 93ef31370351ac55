#include "make_trace.h"

#include <fstream>
#include <new>
#include <string_view>
#include <system_error>

#include <kyimaging/kyimaging.h>

#include "errors.h"
#include "images.h"

namespace app {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kLogName = "kyimaging.log";
constexpr std::string_view kKeptFrame = "MFocusTemp";
constexpr std::string_view kReasonMark = ".bmp: ";
constexpr std::string_view kEndOfHeights = " End Kyf3DSafeMakeHeightData";
constexpr std::string_view kOutOfMemory = ": KyfResultFailAlloc";

} // namespace

MakeTrace::MakeTrace(const fs::path& parent) : m_folder(parent / "trace") {
    std::error_code error;
    fs::create_directory(m_folder, error);
    if (error) throw Failure(DisplayPath(parent) + ": a folder cannot be made in it: " + error.message());
    KyiSetTraceLogFolder(WidePath(m_folder).c_str());
    KyiSetPuttingTraceLog(1);
}

MakeTrace::~MakeTrace() {
    KyiSetPuttingTraceLog(0);
    KyiSetTraceLogFolder(nullptr);
}

std::optional<std::string> MakeTrace::LostFrame() const {
    std::ifstream log(m_folder / kLogName);
    for (std::string line; std::getline(log, line);)
        if (const std::size_t at = line.find(kReasonMark); at != std::string::npos && line.find(kKeptFrame) < at)
            return line.substr(at + kReasonMark.size());
    return std::nullopt;
}

void MakeTrace::RequireHeights() const {
    std::optional<std::string> end; // what follows the mark: nothing after a good one
    std::ifstream log(m_folder / kLogName);
    for (std::string line; std::getline(log, line);)
        if (const std::size_t at = line.find(kEndOfHeights); at != std::string::npos)
            end = line.substr(at + kEndOfHeights.size());
    if (!end)
        throw Failure(DisplayPath(m_folder / kLogName) +
                      ": cannot be written, and it alone tells whether the result is complete");
    if (*end == kOutOfMemory) throw std::bad_alloc();
    if (!end->empty()) throw Failure("heights not made" + *end);
}

} // namespace app
