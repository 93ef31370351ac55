#include "height_files.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

#include "errors.h"
#include "parameter_file.h"

namespace app {
namespace {

namespace fs = std::filesystem;
constexpr std::string_view kBlanks = " \t\r\v\f";
constexpr std::size_t kLargestText = std::size_t{64} << 20; // a device may have no end

/// One line with content.
struct HeightLine {
    std::size_t Number; // 1 is the first line of the file
    std::string Name;   // empty: a bare number
    double Height;
};

[[noreturn]] void FailAt(const std::string& shownName, std::size_t line, const std::string& message) {
    throw Failure(shownName + ":" + std::to_string(line) + ": " + message);
}

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<double> ParseNumber(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

HeightLine ParseLine(std::string_view content, const std::string& shownName, std::size_t number) {
    const std::size_t comma = content.rfind(',');
    const std::size_t split = comma != std::string_view::npos ? comma : content.find_last_of(kBlanks);
    const bool isBare = split == std::string_view::npos;
    const std::string_view last = isBare ? content : Trim(content.substr(split + 1));
    const std::optional<double> height = ParseNumber(last);
    if (!height) {
        const std::string found =
            last.empty() ? "nothing" : std::string("'").append(ShownText(std::string(last))).append("'");
        FailAt(shownName, number, found + " where a height is expected: a number, or a frame's name and a number");
    }
    std::string name(isBare ? std::string_view() : Trim(content.substr(0, split)));
    if (!isBare && name.empty()) FailAt(shownName, number, "no name before the comma");
    return {number, std::move(name), *height};
}

struct HeightLines {
    std::vector<HeightLine> First; // as many as were asked for
    std::size_t Count = 0;         // of all
};

HeightLines ParseLines(const std::string& text, const std::string& shownName, std::size_t most) {
    HeightLines lines;
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF"; // spreadsheets put it in front of a CSV file
    std::istringstream stream(text.starts_with(kByteOrderMark) ? text.substr(kByteOrderMark.size()) : text);
    std::size_t number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        const std::string_view content = Trim(std::string_view(line).substr(0, line.find('#')));
        if (content.empty()) continue;
        HeightLine read = ParseLine(content, shownName, number);
        if (lines.Count++ > 0 && read.Name.empty() != lines.First.front().Name.empty())
            FailAt(shownName, number, "lines with and without a frame's name are mixed");
        if (lines.First.size() < most) lines.First.push_back(std::move(read));
    }
    return lines;
}

/// Index of the line that belongs to each frame.
std::vector<std::size_t> MatchNames(const std::vector<HeightLine>& lines, const std::string& shownName,
                                    const std::vector<fs::path>& frames) {
    constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
    std::vector<std::size_t> lineOfFrame(frames.size(), kNone);
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const HeightLine& line = lines[index];
        bool isFrame = false;
        for (std::size_t frame = 0; frame < frames.size(); ++frame) {
            if (frames[frame].filename() != line.Name && frames[frame] != line.Name) continue;
            isFrame = true;
            if (lineOfFrame[frame] != kNone)
                FailAt(shownName, line.Number, "second height for " + ShownText(line.Name));
            lineOfFrame[frame] = index;
        }
        if (!isFrame) FailAt(shownName, line.Number, "no frame is named " + ShownText(line.Name));
    }
    for (std::size_t frame = 0; frame < frames.size(); ++frame)
        if (lineOfFrame[frame] == kNone)
            throw Failure(shownName + ": no height for frame " + frames[frame].filename().native());
    return lineOfFrame;
}

} // namespace

std::vector<double> ParseHeights(const std::string& text, const std::string& shownName,
                                 const std::vector<fs::path>& frames) {
    // One too many tells as much as all of them, which can be many more than there are frames.
    const HeightLines all = ParseLines(text, shownName, frames.size() + 1);
    const std::vector<HeightLine>& lines = all.First;
    std::vector<double> heights;
    heights.reserve(frames.size());
    if (!lines.empty() && !lines.front().Name.empty()) {
        for (const std::size_t line : MatchNames(lines, shownName, frames)) heights.push_back(lines[line].Height);
        return heights;
    }
    if (lines.size() != frames.size())
        throw Failure(shownName + ": " + std::to_string(all.Count) + " heights, expected " +
                      std::to_string(frames.size()) + ", one a frame");
    for (const HeightLine& line : lines) heights.push_back(line.Height);
    return heights;
}

std::vector<double> ReadHeights(const fs::path& file, const std::vector<fs::path>& frames) {
    std::error_code error;
    if (fs::is_directory(file, error)) throw Failure(file.native() + ": is a folder, expected a file with heights");
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw Failure(file.native() + ": heights cannot be read: " + std::strerror(errno));
    std::string text;
    for (std::array<char, 65536> piece{}; stream.read(piece.data(), piece.size()) || stream.gcount() > 0;) {
        text.append(piece.data(), static_cast<std::size_t>(stream.gcount()));
        if (text.size() > kLargestText)
            throw Failure(file.native() + ": too large for heights, expected at most 64 MiB");
    }
    if (stream.bad()) throw Failure(file.native() + ": heights cannot be read to the end");
    return ParseHeights(text, file.native(), frames);
}

std::vector<double> EvenHeights(double start, double step, std::size_t count) {
    std::vector<double> heights(count);
    for (std::size_t index = 0; index < count; ++index) heights[index] = start + static_cast<double>(index) * step;
    return heights;
}

} // namespace app
