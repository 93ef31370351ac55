#include "platform/folders.h"

#include "platform/text.h"

#include <array>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::size_t kEntriesPerSearch = 256;
constexpr std::size_t kBytesPerRead = 4096; // of entries, each of at most 280
constexpr useconds_t kPauseMicroseconds = 2000;
constexpr mode_t kOwnerOnly = 0700;

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
bool IsFolder(int folder, const dirent64& entry) {
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat state {};
    return fstatat(folder, entry.d_name, &state, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(state.st_mode);
}

bool IsExistingFolder(const std::string& path) {
    struct stat state {};
    return stat(path.c_str(), &state) == 0 && S_ISDIR(state.st_mode);
}

struct Batch {
    std::size_t Found = 0;
    std::size_t Deleted = 0;
};

/// One search from the start, each entry deleted as it is found. One that the search misses for the gaps that this
/// makes in the folder is found by the next.
Batch DeleteOneBatch(int folder, std::string_view part) noexcept {
    Batch batch;
    alignas(dirent64) std::array<char, kBytesPerRead> entries;
    lseek(folder, 0, SEEK_SET);
    for (ssize_t bytes = 1; bytes > 0 && batch.Found < kEntriesPerSearch;) {
        bytes = getdents64(folder, entries.data(), entries.size());
        for (ssize_t at = 0; at < bytes && batch.Found < kEntriesPerSearch;) {
            const auto& entry = *reinterpret_cast<const dirent64*>(entries.data() + at);
            at += entry.d_reclen;
            if (std::string_view(entry.d_name).find(part) == std::string_view::npos) continue;
            if (IsFolder(folder, entry)) continue;
            ++batch.Found;
            if (unlinkat(folder, entry.d_name, 0) == 0) ++batch.Deleted;
        }
    }
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

void DeleteFilesContaining(const wchar_t* folder, const wchar_t* part) noexcept {
    if (!folder || !part || !*folder || !*part) return;
    std::array<char, PATH_MAX> path;
    std::array<char, NAME_MAX + 1> wanted;
    if (!ToUtf8(folder, path) || !ToUtf8(part, wanted)) return; // longer than any name that the system opens
    const int search = open(path.data(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (search < 0) return;
    for (Batch batch = DeleteOneBatch(search, wanted.data()); batch.Found > 0;
         batch = DeleteOneBatch(search, wanted.data())) {
        // What cannot be deleted now may be held for long; leave the processor to its holder.
        if (batch.Deleted == 0) usleep(kPauseMicroseconds);
    }
    close(search);
}

} // namespace platform
