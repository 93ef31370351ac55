/// Files that appear together when all of them are complete, or not at all.
#ifndef KYFOCUS_APP_OUTPUT_FILES_H
#define KYFOCUS_APP_OUTPUT_FILES_H

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace app {

/// The outputs of one run. Each is written under its own name in a temporary folder beside its target; Commit moves
/// them to their places. Without a Commit nothing stays, also when the run is interrupted.
class OutputFiles {
  public:
    OutputFiles() = default;
    ~OutputFiles();
    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;

    /// Takes up a target before the work that makes it; a link stands for the file that it leads to, or names while
    /// there is none. Throws Failure when its folder is missing or cannot be written, the target is a folder, pipe or
    /// device, or links lead in a circle, and UsageError when it has no name or was added before.
    void Add(const std::filesystem::path& target);

    /// Writes a target that was added: calls `write` with the path to write to. A Failure that names this path comes
    /// out naming the target.
    void Write(const std::filesystem::path& target, const std::function<void(const std::filesystem::path&)>& write);

    /// Moves the outputs to their targets; all must have been written. Throws Failure, with the targets as they were
    /// before as far as the file system lets names be exchanged. What has come under a target's name since it was added
    /// and is no plain file stays, and fails the run.
    void Commit();

  private:
    struct Output {
        std::filesystem::path Target; // as it was added
        std::filesystem::path Place;  // where its file goes: behind a link another path
        std::filesystem::path Temporary;
    };

    const std::filesystem::path& TemporaryFolderFor(const std::filesystem::path& target,
                                                    const std::filesystem::path& place);

    std::vector<Output> m_outputs;
    std::map<std::filesystem::path, std::filesystem::path> m_folders; // temporary folder by the targets' folder
};

/// Writes a text to standard output, to its end. To be called ahead of Commit: a run whose answer is lost leaves no
/// outputs. Throws Failure.
void WriteAnswer(const std::string& text);

} // namespace app

#endif
