#include "run_program.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/case_files.h"
#include "support/file_text.h"

namespace test {
namespace {

[[noreturn]] void BecomeProgram(const std::vector<char*>& arguments, const char* output, const char* errors,
                                const char* temporaryFolder) {
    const int outputFile = open(output, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int errorFile = open(errors, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(outputFile, STDOUT_FILENO);
    dup2(errorFile, STDERR_FILENO);
    if (*temporaryFolder != '\0') setenv("TMPDIR", temporaryFolder, 1);
    execv(arguments.front(), arguments.data());
    _exit(127);
}

} // namespace

ProgramResult RunProgram(const std::vector<std::string>& arguments, const std::function<void(pid_t)>& whileRunning,
                         const std::filesystem::path& temporaryFolder) {
    const TemporaryFolder folder;
    const std::string output = folder.Path() / "output";
    const std::string errors = folder.Path() / "errors";
    std::vector<std::string> words = {KY_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);

    const pid_t process = fork();
    if (process < 0) throw std::runtime_error("fork failed");
    if (process == 0) BecomeProgram(pointers, output.c_str(), errors.c_str(), temporaryFolder.c_str());
    if (whileRunning) whileRunning(process);
    int status = 0;
    waitpid(process, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), ReadText(output), ReadText(errors)};
}

std::size_t LineCount(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

std::vector<std::string> EntryNames(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace test
