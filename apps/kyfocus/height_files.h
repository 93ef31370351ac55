/// Heights of the frames, from a text file or from a start and a step.
#ifndef KYFOCUS_APP_HEIGHT_FILES_H
#define KYFOCUS_APP_HEIGHT_FILES_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace app {

/// Heights from lines of either "number", in frame order, or "name number", in any order; a comma or blanks between the
/// two. The name is the frame's file name. Empty lines and what follows # are skipped.
/// @param shownName  Name of the text in messages.
/// @return one finite height a frame. Throws Failure naming the line, or the frame without a height.
std::vector<double> ParseHeights(const std::string& text, const std::string& shownName,
                                 const std::vector<std::filesystem::path>& frames);

/// As ParseHeights, from a file or a pipe, of at most 64 MiB.
std::vector<double> ReadHeights(const std::filesystem::path& file, const std::vector<std::filesystem::path>& frames);

/// start, start + step, start + 2 step, ...
std::vector<double> EvenHeights(double start, double step, std::size_t count);

} // namespace app

#endif
