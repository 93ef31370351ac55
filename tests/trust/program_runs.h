/// Runs of the program under a library of faults, and what they leave.
#ifndef KYFOCUS_TESTS_TRUST_PROGRAM_RUNS_H
#define KYFOCUS_TESTS_TRUST_PROGRAM_RUNS_H

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

#include "apps/run_program.h"
#include "support/case_files.h"

namespace test {

/// Contents by name, below a folder; folders have none.
using Contents = std::map<std::string, std::string>;

/// All that lies below a folder.
Contents ContentsOf(const std::filesystem::path& folder);

/// Folders of runs, anywhere below a folder, that hold files and no lock: no run will ever remove them.
std::vector<std::string> LostFolders(const std::filesystem::path& folder);

/// Ends a program that hangs, so that its status tells of it. The time is a guard: no run comes near it.
void EndIfItHangs(pid_t process);

/// A command of the program, with the names of files below a workplace.
struct Command {
    const char* Name;
    std::vector<std::string> Arguments;
};

/// A folder with what commands work on. In it: `stack`, three small frames in files of all kinds; `made`, a height map
/// z.tif with its differentiation map d.png, parameters p.ini, and two wide images w1.bmp and w2.bmp; `out`; `temp`,
/// for temporary files; and `lib`, an installation with a dialog in which somebody presses OK.
class Workplace {
  public:
    Workplace();
    ~Workplace();
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    std::filesystem::path Folder() const;
    std::filesystem::path Path(const std::string& name) const { return Folder() / name; }

    /// Empties `out` and `temp`. Then all of these files are in `out`, each with its content.
    void Clear(const Contents& files) const;

    /// Runs a command; one that hangs is ended.
    ProgramResult Run(const std::vector<std::string>& arguments,
                      const std::function<void(pid_t)>& whileRunning = EndIfItHangs) const;

  private:
    TemporaryFolder m_folder;
};

/// Faults for the programs that are started meanwhile.
class Faults {
  public:
    /// @param library  Loaded ahead of the program. @param folder  Whose files fail, where files do.
    /// @param report  Receives the number of calls that could have failed.
    Faults(const std::string& library, const std::string& kind, int at, const std::filesystem::path& folder,
           const std::filesystem::path& report);
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

  private:
    std::string m_checks; // options of the address checks
};

} // namespace test

#endif
