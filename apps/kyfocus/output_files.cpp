#include "output_files.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include "errors.h"
#include "interruption.h"

namespace app {

namespace fs = std::filesystem;

namespace {

constexpr int kMostLinks = 40; // as many as the system follows

/// The name at the end of links that lead nowhere; the target itself where it is no link.
fs::path EndOfLinks(const fs::path& target) {
    fs::path place = target;
    std::error_code error;
    for (int links = 0; fs::is_symlink(place, error); ++links) {
        if (links == kMostLinks) throw Failure(target.native() + ": cannot be written: " + std::strerror(ELOOP));
        const fs::path text = fs::read_symlink(place, error);
        if (error) throw Failure(target.native() + ": cannot be written: " + error.message());
        place = place.parent_path() / text; // an absolute text stands for itself
    }
    return place;
}

/// Where the file of a target goes. Refuses what a file cannot take the place of.
fs::path PlaceOf(const fs::path& target) {
    std::error_code error;
    if (target.empty()) throw UsageError("an output has no name, expected the name of a file to write");
    const fs::file_status status = fs::status(target, error);
    if (target.filename().empty() || fs::is_directory(status))
        throw Failure(target.native() + ": is a folder, expected the name of a file to write");
    if (!fs::exists(status)) return EndOfLinks(target);
    if (!fs::is_regular_file(status))
        throw Failure(target.native() + ": is a pipe or device, expected the name of a file to write");
    if (!fs::is_symlink(target, error)) return target;
    fs::path place = fs::canonical(target, error);
    if (error) throw Failure(target.native() + ": cannot be written: " + error.message());
    return place;
}

/// Why no output may take the place of what is under a name, as an error number: only plain files are replaced. Links
/// are not followed.
/// @param found  Receives what is there.
int ObstacleAt(const fs::path& place, struct stat& found) noexcept {
    if (lstat(place.c_str(), &found) != 0) return errno;
    if (S_ISREG(found.st_mode)) return 0;
    return S_ISDIR(found.st_mode) ? EISDIR : EEXIST;
}

/// One output on its way to its place. A file that it replaces goes to where it came from, so that it can be undone.
class Move {
  public:
    Move(fs::path temporary, fs::path place) : m_temporary(std::move(temporary)), m_place(std::move(place)) {}

    /// @return the error number, or 0. After an error all is as it was.
    int Do() noexcept {
        if (const int error = TakeOverPermissions(); error != 0) return error;
        const int error = Rename(m_temporary, m_place, RENAME_EXCHANGE);
        m_isExchange = error == 0;
        if (m_isExchange) return GiveBackWhatIsNoFile();
        // Nothing is there, or the file system cannot exchange names: then what is there is lost. After any other error
        // it may be the only whole copy.
        const int fresh = error == ENOENT ? Rename(m_temporary, m_place, RENAME_NOREPLACE) : error;
        return IsUnsupported(fresh) ? Rename(m_temporary, m_place, 0) : fresh;
    }
    void Undo() const noexcept { Rename(m_place, m_temporary, m_isExchange ? RENAME_EXCHANGE : 0); }

  private:
    /// What only its owner may read stays so when it is made again.
    int TakeOverPermissions() const noexcept {
        struct stat old {};
        struct stat made {};
        constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
        const int obstacle = ObstacleAt(m_place, old);
        if (obstacle != 0) return obstacle == ENOENT ? 0 : obstacle;
        if (stat(m_temporary.c_str(), &made) != 0) return errno;
        // Not every file system has permissions to change.
        if (((old.st_mode ^ made.st_mode) & kPermissions) == 0) return 0;
        return chmod(m_temporary.c_str(), old.st_mode & kPermissions) == 0 ? 0 : errno;
    }

    /// What came under the name after it was looked at is now in the temporary folder, which is deleted with all in it.
    int GiveBackWhatIsNoFile() const noexcept {
        struct stat old {};
        const int obstacle = ObstacleAt(m_temporary, old);
        if (obstacle != 0) Undo();
        return obstacle;
    }

    /// Whether the error is that of a file system or a system without the kind of renaming.
    static bool IsUnsupported(int error) noexcept { return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP; }

    static int Rename(const fs::path& from, const fs::path& to, unsigned flags) noexcept {
        if (flags == 0) return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
        return renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), flags) == 0 ? 0 : errno;
    }

    fs::path m_temporary;
    fs::path m_place;
    bool m_isExchange = false;
};

} // namespace

OutputFiles::~OutputFiles() {
    for (const auto& [targetFolder, temporaryFolder] : m_folders) RemoveTemporaryFolder(temporaryFolder);
}

const fs::path& OutputFiles::TemporaryFolderFor(const fs::path& target, const fs::path& place) {
    std::error_code error;
    const fs::path parent = place.has_parent_path() ? place.parent_path() : fs::path(".");
    const fs::path folder = fs::canonical(parent, error);
    if (error)
        throw Failure(target.native() + ": cannot be written: folder " + parent.native() + ": " + error.message());
    if (const auto known = m_folders.find(folder); known != m_folders.end()) return known->second;
    try {
        return m_folders.emplace(folder, MakeTemporaryFolder(folder / ".kyfocus-XXXXXX")).first->second;
    } catch (const std::system_error& reason) {
        throw Failure(target.native() + ": cannot be written: folder " + parent.native() + ": " +
                      reason.code().message());
    }
}

void OutputFiles::Add(const fs::path& target) {
    fs::path place = PlaceOf(target);
    fs::path temporary = TemporaryFolderFor(target, place) / place.filename();
    for (const Output& output : m_outputs)
        if (output.Temporary == temporary) throw UsageError(target.native() + ": named for two outputs");
    m_outputs.push_back({target, std::move(place), std::move(temporary)});
}

void OutputFiles::Write(const fs::path& target, const std::function<void(const fs::path&)>& write) {
    const auto output = std::find_if(m_outputs.begin(), m_outputs.end(),
                                     [&](const Output& candidate) { return candidate.Target == target; });
    assert(output != m_outputs.end());
    const std::string temporary = output->Temporary.native();
    try {
        write(output->Temporary);
    } catch (const Failure& failure) {
        std::string message = failure.what();
        if (message.starts_with(temporary)) message.replace(0, temporary.size(), target.native());
        throw Failure(message);
    }
}

void OutputFiles::Commit() {
    WithoutInterruption([this] {
        std::vector<Move> moves; // all of them first: between two that are done nothing may ask for memory
        moves.reserve(m_outputs.size());
        for (const Output& output : m_outputs) moves.emplace_back(output.Temporary, output.Place);
        for (std::size_t index = 0; index < moves.size(); ++index) {
            const int error = moves[index].Do();
            if (error == 0) continue;
            for (std::size_t earlier = index; earlier > 0; --earlier) moves[earlier - 1].Undo();
            throw Failure(m_outputs[index].Target.native() + ": cannot be written: " + std::strerror(error));
        }
    });
    m_outputs.clear();
}

void WriteAnswer(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        throw Failure(std::string("standard output: cannot be written: ") + std::strerror(errno));
}

} // namespace app
