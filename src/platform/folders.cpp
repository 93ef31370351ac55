#include "platform/folders.h"

#include "platform/text.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::size_t kEntriesPerSearch = 256;

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { closedir(folder); }
};

// `variable` names the base folder; without it the base is `belowHome` in the home folder.
std::wstring FolderOfMaker(const char* variable, const char* belowHome, const char* name) {
    std::string base;
    if (const char* const named = std::getenv(variable); named && *named)
        base = named;
    else if (const char* const home = std::getenv("HOME"); home && *home)
        base = std::string(home) + '/' + belowHome;
    if (base.empty()) return {};
    if (base.back() != '/') base += '/';
    return ToWide(base + "Tessly Corporation/" + name);
}

// A link counts as itself, whatever it points to.
bool IsFolder(int folder, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat state {};
    return fstatat(folder, entry.d_name, &state, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(state.st_mode);
}

/// One search from the start, then the deletions. False when the search found nothing.
bool DeleteOneBatch(const std::string& folder, std::string_view part) {
    const std::unique_ptr<DIR, CloseFolder> search(opendir(folder.c_str()));
    if (!search) return false;
    std::array<std::string, kEntriesPerSearch> names;
    std::size_t count = 0;
    while (count < names.size()) {
        const dirent* const entry = readdir(search.get());
        if (!entry) break;
        if (std::string_view(entry->d_name).find(part) == std::string_view::npos) continue;
        if (!IsFolder(dirfd(search.get()), *entry)) names[count++] = entry->d_name;
    }
    for (std::size_t i = 0; i < count; ++i) unlinkat(dirfd(search.get()), names[i].c_str(), 0);
    return count > 0;
}

} // namespace

std::wstring PerUserFolder() { return FolderOfMaker("XDG_CONFIG_HOME", ".config", "KYFoucs"); }

std::wstring IntermediateCodeFolder() { return FolderOfMaker("XDG_CACHE_HOME", ".cache", "KYFocus"); }

void DeleteFilesContaining(const wchar_t* folder, const wchar_t* part) {
    if (!folder || !part || !*folder) return;
    const std::string path = ToUtf8(folder);
    const std::string wanted = ToUtf8(part);
    while (DeleteOneBatch(path, wanted)) {
    }
}

} // namespace platform
