/// The greatest memory that the process has held, as the system tells it.
#ifndef KYFOCUS_TESTS_SUPPORT_PEAK_MEMORY_H
#define KYFOCUS_TESTS_SUPPORT_PEAK_MEMORY_H

#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace test {

/// Greatest memory of the process since the last time that it was forgotten, in MiB.
inline long PeakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:")) return std::stol(line.substr(6)) / 1024;
    ADD_FAILURE() << "the system does not tell";
    return 0;
}

/// From here on the peak is that of what comes: it is now what is held.
inline void ForgetPeakMemory() { std::ofstream("/proc/self/clear_refs") << "5"; }

} // namespace test

#endif
