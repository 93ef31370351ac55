#include "trust/program_runs.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

#include <sys/wait.h>

namespace test {

namespace fs = std::filesystem;

std::string ReadText(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

Contents ContentsOf(const fs::path& folder) {
    Contents contents;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        contents[fs::relative(entry.path(), folder)] = entry.is_regular_file() ? ReadText(entry.path()) : "";
    return contents;
}

void EndIfItHangs(pid_t process) {
    constexpr std::chrono::milliseconds kPause{2};
    constexpr int kPauses = 200000;
    for (int wait = 0; wait < kPauses; ++wait) {
        siginfo_t state{};
        waitid(P_PID, static_cast<id_t>(process), &state, WEXITED | WNOHANG | WNOWAIT);
        if (state.si_pid == process) return;
        std::this_thread::sleep_for(kPause);
    }
    kill(process, SIGKILL);
}

Faults::Faults(const std::string& library, const std::string& kind, int at, const fs::path& folder,
               const fs::path& report) {
    const char* const options = std::getenv("ASAN_OPTIONS");
    m_checks = options ? options : "";
    setenv("LD_PRELOAD", library.c_str(), 1);
    // A program with address checks wants them first in line otherwise.
    setenv("ASAN_OPTIONS", (m_checks + ":verify_asan_link_order=0").c_str(), 1);
    setenv("KY_FAULT_KIND", kind.c_str(), 1);
    setenv("KY_FAULT_AT", std::to_string(at).c_str(), 1);
    setenv("KY_FAULT_FOLDER", folder.c_str(), 1);
    setenv("KY_FAULT_REPORT", report.c_str(), 1);
}

Faults::~Faults() {
    setenv("ASAN_OPTIONS", m_checks.c_str(), 1);
    for (const char* const name : {"LD_PRELOAD", "KY_FAULT_KIND", "KY_FAULT_AT", "KY_FAULT_FOLDER", "KY_FAULT_REPORT"})
        unsetenv(name);
}

} // namespace test
