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
constexpr useconds_t kPauseMicroseconds = 2000;
constexpr mode_t kOwnerOnly = 0700;

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

bool IsExistingFolder(const std::string& path) {
    struct stat state {};
    return stat(path.c_str(), &state) == 0 && S_ISDIR(state.st_mode);
}

struct Batch {
    std::size_t Found;
    std::size_t Deleted;
};

/// One search from the start, then the deletions.
Batch DeleteOneBatch(const std::string& folder, std::string_view part) {
    const std::unique_ptr<DIR, CloseFolder> search(opendir(folder.c_str()));
    if (!search) return {0, 0};
    std::array<std::string, kEntriesPerSearch> names;
    std::size_t count = 0;
    while (count < names.size()) {
        const dirent* const entry = readdir(search.get());
        if (!entry) break;
        if (std::string_view(entry->d_name).find(part) == std::string_view::npos) continue;
        if (!IsFolder(dirfd(search.get()), *entry)) names[count++] = entry->d_name;
    }
    Batch batch{count, 0};
    for (std::size_t i = 0; i < count; ++i)
        if (unlinkat(dirfd(search.get()), names[i].c_str(), 0) == 0) ++batch.Deleted;
    return batch;
}

} // namespace

std::wstring PerUserFolder() { return FolderOfMaker("XDG_CONFIG_HOME", ".config", "KYFoucs"); }

std::wstring IntermediateCodeFolder() { return FolderOfMaker("XDG_CACHE_HOME", ".cache", "KYFocus"); }

bool MakeFolders(const wchar_t* folder) {
    if (!folder || !*folder) return false;
    const std::string path = ToUtf8(folder);
    if (IsExistingFolder(path)) return true;
    for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1))
        mkdir(path.substr(0, end).c_str(), kOwnerOnly); // fails for what exists; the last step shows the outcome
    mkdir(path.c_str(), kOwnerOnly);
    return IsExistingFolder(path);
}

void DeleteFilesContaining(const wchar_t* folder, const wchar_t* part) {
    if (!folder || !part || !*folder || !*part) return;
    const std::string path = ToUtf8(folder);
    const std::string wanted = ToUtf8(part);
    for (Batch batch = DeleteOneBatch(path, wanted); batch.Found > 0; batch = DeleteOneBatch(path, wanted)) {
        // What cannot be deleted now may be held for long; leave the processor to its holder.
        if (batch.Deleted == 0) usleep(kPauseMicroseconds);
    }
}

} // namespace platform
