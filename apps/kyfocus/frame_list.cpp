#include "frame_list.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <glob.h>
#include <unistd.h>

#include "errors.h"
#include "natural_order.h"

namespace app {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<fs::path>;

void SortNaturally(Paths::iterator begin, Paths::iterator end) {
    std::sort(begin, end, [](const fs::path& first, const fs::path& second) {
        return NaturalLess(first.native(), second.native());
    });
}

bool IsSameFile(const fs::path& first, const fs::path& second) {
    std::error_code error;
    return fs::equivalent(first, second, error);
}

bool IsOneOf(const fs::path& path, const Paths& files) {
    return std::any_of(files.begin(), files.end(), [&](const fs::path& file) { return IsSameFile(path, file); });
}

/// Keeps what can be a frame of a folder or pattern, in natural order.
Paths SelectFrames(Paths candidates, const Paths& outputs) {
    std::erase_if(candidates, [&](const fs::path& path) {
        std::error_code error;
        if (!HasImageExtension(path) || !fs::is_regular_file(path, error)) return true;
        const bool isOutput = IsOneOf(path, outputs);
        if (isOutput) std::fprintf(stderr, "kyfocus: %s: not taken as a frame, it is an output\n", path.c_str());
        return isOutput;
    });
    SortNaturally(candidates.begin(), candidates.end());
    return candidates;
}

Paths ListFolder(const fs::path& folder, const Paths& outputs) {
    std::error_code error;
    Paths entries;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().native().front() != '.') entries.push_back(entry->path());
    if (error) throw Failure(folder.native() + ": folder cannot be read: " + error.message());
    Paths frames = SelectFrames(std::move(entries), outputs);
    if (frames.empty())
        throw Failure(folder.native() + ": no image files in this folder, expected .tif .tiff .png .jpg .jpeg or .bmp");
    return frames;
}

Paths ListPattern(const std::string& pattern, const Paths& outputs) {
    glob_t matches{};
    const int result = glob(pattern.c_str(), GLOB_NOSORT, nullptr, &matches);
    const Paths entries(matches.gl_pathv, matches.gl_pathv + (result == 0 ? matches.gl_pathc : 0));
    globfree(&matches);
    if (result != 0 && result != GLOB_NOMATCH) throw Failure(pattern + ": pattern cannot be searched");
    Paths frames = SelectFrames(entries, outputs);
    if (frames.empty()) throw Failure(pattern + ": no image file matches this pattern");
    return frames;
}

/// Opens the file once, so that a missing frame is told before any work. Does not wait for the writer of a pipe.
void RequireReadable(const fs::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) throw Failure(path.native() + ": cannot be read: " + std::strerror(errno));
    close(file);
}

bool IsPattern(const std::string& argument) { return argument.find_first_of("*?[") != std::string::npos; }

} // namespace

bool HasImageExtension(const fs::path& path) {
    static constexpr std::array<const char*, 6> kExtensions = {".tif", ".tiff", ".png", ".jpg", ".jpeg", ".bmp"};
    std::string extension = path.extension().native();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

Paths ListFrames(const std::vector<std::string>& arguments, bool keepOrder, const Paths& outputs) {
    Paths frames;
    std::size_t runStart = 0; // first of the files that were named one by one, one after the other
    const auto closeRun = [&] {
        if (!keepOrder) SortNaturally(frames.begin() + static_cast<std::ptrdiff_t>(runStart), frames.end());
    };
    for (const std::string& argument : arguments) {
        std::error_code error;
        const bool isThere = fs::exists(argument, error);
        const bool isFolder = isThere && fs::is_directory(argument, error);
        if (isFolder || (!isThere && IsPattern(argument))) {
            closeRun();
            const Paths more = isFolder ? ListFolder(argument, outputs) : ListPattern(argument, outputs);
            frames.insert(frames.end(), more.begin(), more.end());
            runStart = frames.size();
        } else {
            if (isThere && IsOneOf(argument, outputs))
                throw UsageError(argument + ": named as a frame and as an output");
            frames.emplace_back(argument);
        }
    }
    closeRun();
    std::for_each(frames.begin(), frames.end(), RequireReadable);
    return frames;
}

std::string DescribeFrames(const Paths& frames, bool keepOrder) {
    const auto name = [](const fs::path& path) { return path.filename().native(); };
    if (frames.size() == 1) return "1 frame: " + name(frames.front());
    const std::string order = keepOrder ? "in the order given" : "in natural order";
    return std::to_string(frames.size()) + " frames " + order + ": " + name(frames.front()) + " ... " +
           name(frames.back());
}

} // namespace app
