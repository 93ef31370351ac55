/// New values for keys of a profile's bytes; all other bytes stay.
#ifndef KYFOCUS_PLATFORM_PROFILE_CHANGE_H
#define KYFOCUS_PLATFORM_PROFILE_CHANGE_H

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace platform {

/// A key and the value that it is to have, in UTF-8. A value that begins and ends with a blank or with quotes reads
/// back without them.
struct ProfileChange {
    std::string Key;
    std::string Value;
};

/// The bytes after the changes. A key that the section has keeps its line up to where the value begins; of several the
/// first is changed. New keys go, in their order, behind the section's last line that is not blank; a section that is
/// missing goes to the end. New lines end as the first line of the file does. Encoding and mark stay.
/// @param changes  Each key once.
/// @return empty for a section, key or value that could not be found again (line ends, "=" or ";" in the wrong place),
///         and for a file that is marked as UTF-16 with the high byte first.
std::optional<std::string> ChangeProfile(std::string_view bytes, std::string_view section,
                                         std::span<const ProfileChange> changes);

} // namespace platform

#endif
