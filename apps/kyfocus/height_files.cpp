#include "height_files.h"

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

#include "errors.h"

namespace app {
namespace {

namespace fs = std::filesystem;
constexpr std::string_view kBlanks = " \t\r\v\f";

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
        const std::string found = last.empty() ? "nothing" : std::string("'").append(last).append("'");
        FailAt(shownName, number, found + " where a height is expected: a number, or a frame's name and a number");
    }
    std::string name(isBare ? std::string_view() : Trim(content.substr(0, split)));
    if (!isBare && name.empty()) FailAt(shownName, number, "no name before the comma");
    return {number, std::move(name), *height};
}

std::vector<HeightLine> ParseLines(const std::string& text, const std::string& shownName) {
    std::vector<HeightLine> lines;
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF"; // spreadsheets put it in front of a CSV file
    std::istringstream stream(text.starts_with(kByteOrderMark) ? text.substr(kByteOrderMark.size()) : text);
    std::size_t number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        const std::string_view content = Trim(std::string_view(line).substr(0, line.find('#')));
        if (!content.empty()) lines.push_back(ParseLine(content, shownName, number));
    }
    for (const HeightLine& line : lines)
        if (line.Name.empty() != lines.front().Name.empty())
            FailAt(shownName, line.Number, "lines with and without a frame's name are mixed");
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
            if (lineOfFrame[frame] != kNone) FailAt(shownName, line.Number, "second height for " + line.Name);
            lineOfFrame[frame] = index;
        }
        if (!isFrame) FailAt(shownName, line.Number, "no frame is named " + line.Name);
    }
    for (std::size_t frame = 0; frame < frames.size(); ++frame)
        if (lineOfFrame[frame] == kNone)
            throw Failure(shownName + ": no height for frame " + frames[frame].filename().native());
    return lineOfFrame;
}

} // namespace

std::vector<double> ParseHeights(const std::string& text, const std::string& shownName,
                                 const std::vector<fs::path>& frames) {
    const std::vector<HeightLine> lines = ParseLines(text, shownName);
    std::vector<double> heights;
    heights.reserve(frames.size());
    if (!lines.empty() && !lines.front().Name.empty()) {
        for (const std::size_t line : MatchNames(lines, shownName, frames)) heights.push_back(lines[line].Height);
        return heights;
    }
    if (lines.size() != frames.size())
        throw Failure(shownName + ": " + std::to_string(lines.size()) + " heights, expected " +
                      std::to_string(frames.size()) + ", one a frame");
    for (const HeightLine& line : lines) heights.push_back(line.Height);
    return heights;
}

std::vector<double> ReadHeights(const fs::path& file, const std::vector<fs::path>& frames) {
    std::error_code error;
    if (fs::is_directory(file, error)) throw Failure(file.native() + ": is a folder, expected a file with heights");
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw Failure(file.native() + ": heights cannot be read: " + std::strerror(errno));
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (stream.bad()) throw Failure(file.native() + ": heights cannot be read to the end");
    return ParseHeights(text, file.native(), frames);
}

std::vector<double> EvenHeights(double start, double step, std::size_t count) {
    std::vector<double> heights(count);
    for (std::size_t index = 0; index < count; ++index) heights[index] = start + static_cast<double>(index) * step;
    return heights;
}

} // namespace app
