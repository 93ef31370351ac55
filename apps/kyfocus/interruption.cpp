#include "interruption.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <stdlib.h>
#include <unistd.h>

#include "errors.h"
#include "run_folder.h"

namespace app {
namespace {

namespace fs = std::filesystem;

struct State {
    std::mutex Mutex;
    std::atomic<bool> IsEnding{false}; // whoever sees it takes no further step
    std::vector<fs::path> Folders;
    std::vector<fs::path> OutputFolders; // a folder comes before those in it
};

/// Never destroyed: the watching thread may use it until the process is gone.
State& SharedState() {
    static State* const g_state = new State;
    return *g_state;
}

sigset_t WatchedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&signals, signal);
    }
    return signals;
}

/// Removes a folder although other threads may still be adding files to it.
void RemoveBusyFolder(const fs::path& folder) {
    constexpr int kAttempts = 100;
    for (int attempt = 0; attempt < kAttempts; ++attempt)
        if (TryToRemoveRunFolder(folder)) return;
}

/// Holds the calling thread until the program is gone.
[[noreturn]] void WaitForTheEnd() {
    for (;;) pause();
}

/// Takes the mutex, or gives up: on a disk that hangs nobody else will ever give it back. Asked again and again, since
/// race checks do not know the timed wait of a mutex.
void WaitFor(std::mutex& mutex) {
    constexpr std::chrono::seconds kPatience{10};
    constexpr std::chrono::milliseconds kPause{2};
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!mutex.try_lock() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(kPause);
}

[[noreturn]] void EndInterrupted(int signal) {
    State& state = SharedState();
    state.IsEnding = true;
    WaitFor(state.Mutex); // kept: nobody makes a folder, fills one or renames an output any more
    for (const fs::path& folder : state.Folders) RemoveBusyFolder(folder);
    std::error_code error; // a folder with files in it stays
    for (auto folder = state.OutputFolders.rbegin(); folder != state.OutputFolders.rend(); ++folder)
        fs::remove(*folder, error);
    constexpr char kMessage[] = "\nkyfocus: interrupted\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, kMessage, sizeof kMessage - 1);
    _exit(128 + signal);
}

} // namespace

void WatchInterruptions() {
    const sigset_t signals = WatchedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr); // inherited by every thread that is started later
    SharedState();
    // A reader that goes away or a file at the limit of its size is an error of the write, not the end of the program.
    for (const int ignored : {SIGPIPE, SIGXFSZ}) std::signal(ignored, SIG_IGN);
    try {
        std::thread([signals] {
            int signal = 0;
            while (sigwait(&signals, &signal) != 0) {
            }
            EndInterrupted(signal);
        }).detach();
    } catch (const std::system_error& error) {
        throw Failure("no thread can be started: " + error.code().message());
    }
}

fs::path MakeTemporaryFolder(const fs::path& pattern) {
    const std::lock_guard lock(SharedState().Mutex); // made and known in one step
    return SharedState().Folders.emplace_back(MakeRunFolder(pattern));
}

void RemoveTemporaryFolder(const fs::path& folder) {
    RemoveRunFolder(folder);
    const std::lock_guard lock(SharedState().Mutex);
    std::erase(SharedState().Folders, folder);
}

bool MakeOutputFolder(const fs::path& folder, std::error_code& error) {
    const std::lock_guard lock(SharedState().Mutex); // made and known in one step
    const bool isNew = fs::create_directory(folder, error);
    if (isNew) SharedState().OutputFolders.push_back(folder);
    return isNew;
}

void WithoutInterruption(const std::function<void()>& step) {
    State& state = SharedState();
    if (state.IsEnding) WaitForTheEnd(); // the mutex alone would let a loop of steps go on
    const std::lock_guard lock(state.Mutex);
    step();
}

} // namespace app
