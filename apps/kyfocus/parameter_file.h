/// Parameter files: settings of a composition on disk, as the library keeps them.
#ifndef KYFOCUS_APP_PARAMETER_FILE_H
#define KYFOCUS_APP_PARAMETER_FILE_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <kyfocus/settings.h>

#include "output_files.h"
#include "parameter_keys.h"

namespace app {

/// What a file says for one key.
struct ParameterEntry {
    enum class Source { File, Missing, Unreadable };

    const ParameterKey* Key;
    Source From;
    std::int32_t Value; // as the library takes it; its default where the file gives none
    std::string Text;   // of an unreadable one: what stands in the file
};

struct ParameterFile {
    std::vector<ParameterEntry> Entries;  // one a key, in the order of ParameterKeys
    std::vector<std::string> UnknownKeys; // of the section, in the file's order
};

/// Throws Failure when the file cannot be read, changes meanwhile, or has no section for the parameters: the library
/// would take it for one that says nothing.
ParameterFile ReadParameterFile(const std::filesystem::path& file);

/// A text of the file on a terminal: short, and without characters that steer it.
std::string ShownText(std::string text);

/// Overlays settings with what the file gives.
void OverlayParameters(const ParameterFile& file, KyfFocusCompositionParameter& settings);

/// Throws Failure, with the reason, for a file that is there and cannot be changed.
void RequireWritable(const std::filesystem::path& file);

/// Writes settings as one of the outputs, which was added as `file`; all else that the file holds stays. Throws
/// Failure.
void WriteParameters(const KyfFocusCompositionParameter& settings, const std::filesystem::path& file,
                     OutputFiles& outputs);

} // namespace app

#endif
