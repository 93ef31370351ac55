/// Runs the built program as a user would and collects what it says.
#ifndef KYFOCUS_TESTS_APPS_RUN_PROGRAM_H
#define KYFOCUS_TESTS_APPS_RUN_PROGRAM_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace test {

struct ProgramResult {
    int Status = -1; // exit status, or 128 + signal when a signal ended the program
    std::string Output;
    std::string Errors;
};

/// Runs `kyfocus` with the arguments and waits for its end.
/// @param whileRunning  Called with the process id after the start; may send signals.
/// @param temporaryFolder  For the program's temporary files; empty: the system's.
ProgramResult RunProgram(const std::vector<std::string>& arguments,
                         const std::function<void(pid_t)>& whileRunning = nullptr,
                         const std::filesystem::path& temporaryFolder = {});

/// Number of line ends in a text.
std::size_t LineCount(const std::string& text);

/// Names of the entries of a folder, hidden ones too, sorted.
std::vector<std::string> EntryNames(const std::filesystem::path& folder);

} // namespace test

#endif
