/// What the library finds of graphics processors on this machine.
#ifndef KYFOCUS_APP_GPU_PROBE_H
#define KYFOCUS_APP_GPU_PROBE_H

#include <string>
#include <vector>

namespace app {

/// One way of using a graphics processor.
struct BackEnd {
    std::string Name;
    bool IsAvailable = false;
    std::string Reason;               ///< why not, in a few words; empty when it is available
    std::vector<std::string> Details; ///< what the library tells of platforms and devices, indented
};

/// Asks the library, which opens the driver. Not while a stack is being composed.
BackEnd ProbeCuda();
BackEnd ProbeOpenCl();

/// Why a back end is not available, from the lines that the library traces meanwhile; the last trouble counts.
std::string ReasonOf(const std::vector<std::string>& traceLines);

/// What the lines tell of platforms and devices, without the long lists of extensions.
std::vector<std::string> DetailsOf(const std::vector<std::string>& traceLines);

} // namespace app

#endif
