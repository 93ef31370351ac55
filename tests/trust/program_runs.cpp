#include "trust/program_runs.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <thread>

#include <sys/wait.h>

#include "support/file_text.h"
#include "support/images.h"

namespace test {

namespace fs = std::filesystem;

Contents ContentsOf(const fs::path& folder) {
    Contents contents;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        contents[fs::relative(entry.path(), folder)] = entry.is_regular_file() ? ReadText(entry.path()) : "";
    return contents;
}

std::vector<std::string> LostFolders(const fs::path& folder) {
    std::vector<std::string> lost;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        const bool isOfRun = name.starts_with("kyfocus-") || name.starts_with(".kyfocus-");
        if (isOfRun && entry.is_directory() && !fs::is_empty(entry.path()) &&
            !fs::exists(entry.path() / "kyfocus.lock"))
            lost.push_back(entry.path());
    }
    return lost;
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

Workplace::Workplace() {
    for (const char* const folder : {"stack", "out", "temp", "made", "lib"}) fs::create_directory(Path(folder));
    const char* const names[] = {"f1.png", "f2.tif", "f3.bmp"};
    for (std::uint32_t i = 0; i < 3; ++i) {
        const Image frame = TexturedImage(32, 24, KyiFormatBgr24, i + 1);
        KyiSaveImageData((Path("stack") / names[i]).wstring().c_str(), frame.get(), 0);
    }
    for (const std::uint32_t i : {1U, 2U}) {
        const Image image = TexturedImage(400, 20, KyiFormatBgr24, i);
        KyiSaveImageData(Path("made/w" + std::to_string(i) + ".bmp").wstring().c_str(), image.get(), 0);
    }
    Run({"compose", "stack", "-o", "made/o.png", "--mode", "2d", "--step", "1", "--height-map", "made/z.tif",
         "--differentiation-map", "made/d.png", "--save-params", "made/p.ini"});
    for (const char* const library : {KY_FOCUS_LIBRARY, KY_IMAGING_LIBRARY}) fs::copy(library, Path("lib"));
    fs::copy(KY_DIALOG_STAND_IN, Path("lib/libkyfocus_ui.so.0"));
    setenv("LD_LIBRARY_PATH", Path("lib").c_str(), 1);
    setenv("KY_USER", "presses OK", 1);
}

Workplace::~Workplace() {
    for (const char* const name : {"LD_LIBRARY_PATH", "KY_USER"}) unsetenv(name);
}

fs::path Workplace::Folder() const { return fs::canonical(m_folder.Path()); }

void Workplace::Clear(const Contents& files) const {
    for (const char* const folder : {"out", "temp"}) {
        fs::remove_all(Path(folder));
        fs::create_directory(Path(folder));
    }
    for (const auto& [name, content] : files) {
        const fs::path file = Path("out") / name;
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
    }
}

ProgramResult Workplace::Run(const std::vector<std::string>& arguments,
                             const std::function<void(pid_t)>& whileRunning) const {
    std::vector<std::string> words;
    for (const std::string& word : arguments) {
        const bool isFile = word.starts_with("stack") || word.starts_with("out/") || word.starts_with("made/");
        words.push_back(isFile ? Path(word).native() : word);
    }
    return RunProgram(words, whileRunning, Path("temp"));
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
