/// Which files are the frames of a stack, and in which order.
#ifndef KYFOCUS_APP_FRAME_LIST_H
#define KYFOCUS_APP_FRAME_LIST_H

#include <filesystem>
#include <string>
#include <vector>

namespace app {

/// Whether a name ends like an image file: .tif .tiff .png .jpg .jpeg .bmp, in any case.
bool HasImageExtension(const std::filesystem::path& path);

/// The frames that command line arguments name. An argument is a file, a folder (its image files, hidden ones left out)
/// or a pattern with * ? [...] (the image files that match; a file of exactly that name wins). Folders and patterns
/// are sorted naturally; so is each run of files named one by one, unless keepOrder. Arguments stay in their order.
/// @param outputs  Files that this run writes: left out of folders and patterns, which a line on stderr tells, and
///                 refused when named.
/// Throws Failure for an argument that names no frame or a file that cannot be read, and UsageError for an output.
std::vector<std::filesystem::path> ListFrames(const std::vector<std::string>& arguments, bool keepOrder,
                                              const std::vector<std::filesystem::path>& outputs);

/// The line that says how many frames there are and in which order.
std::string DescribeFrames(const std::vector<std::filesystem::path>& frames, bool keepOrder);

} // namespace app

#endif
