/// Runs of the program under a library of faults, and what they leave.
#ifndef KYFOCUS_TESTS_TRUST_PROGRAM_RUNS_H
#define KYFOCUS_TESTS_TRUST_PROGRAM_RUNS_H

#include <filesystem>
#include <map>
#include <string>

#include <sys/types.h>

namespace test {

std::string ReadText(const std::filesystem::path& file);

/// Contents by name, below a folder; folders have none.
using Contents = std::map<std::string, std::string>;

/// All that lies below a folder.
Contents ContentsOf(const std::filesystem::path& folder);

/// Ends a program that hangs, so that its status tells of it. The time is a guard: no run comes near it.
void EndIfItHangs(pid_t process);

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
