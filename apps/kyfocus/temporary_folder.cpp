#include "temporary_folder.h"

#include <cstdio>
#include <string>
#include <system_error>

#include <kyfocus/session.h>

#include "errors.h"
#include "images.h"
#include "interruption.h"

namespace app {
namespace {

namespace fs = std::filesystem;

fs::path SystemFolder() {
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    if (error)
        throw Failure("the system's temporary folder cannot be used: " + error.message() +
                      ", expected --temp with another");
    return folder;
}

std::string GigabyteText(std::uintmax_t bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f GB", static_cast<double>(bytes) * 1e-9);
    return text;
}

} // namespace

TemporaryFolder::TemporaryFolder(const fs::path& parent) {
    const fs::path place = parent.empty() ? SystemFolder() : parent;
    const fs::path pattern = fs::absolute(place) / "kyfocus-XXXXXX";
    if (WidePath(pattern).size() >= KyfMaxPath)
        throw Failure(place.native() +
                      ": name too long for a temporary folder, expected --temp with one of fewer than " +
                      std::to_string(KyfMaxPath - 15) + " characters");
    try {
        m_path = MakeTemporaryFolder(pattern);
    } catch (const std::system_error& error) {
        throw Failure(place.native() + ": temporary folder cannot be made: " + error.code().message());
    }
}

TemporaryFolder::~TemporaryFolder() { RemoveTemporaryFolder(m_path); }

void TemporaryFolder::RequireRoom(std::uintmax_t bytes) const {
    std::error_code error;
    const fs::space_info space = fs::space(m_path, error);
    if (error || space.available >= bytes) return;
    throw Failure(m_path.parent_path().native() + ": the frames need " + GigabyteText(bytes) + " meanwhile, " +
                  GigabyteText(space.available) + " are free, expected --temp with a folder that has room");
}

std::size_t TemporaryFolder::CountFiles(std::uintmax_t leastBytes) const {
    std::size_t count = 0;
    std::error_code error;
    for (fs::directory_iterator entry(m_path, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code none; // an entry that is gone again has no size
        const std::uintmax_t bytes = entry->file_size(none);
        if (!none && bytes >= leastBytes) ++count;
    }
    if (error) throw Failure(m_path.native() + ": cannot be read: " + error.message());
    return count;
}

} // namespace app
