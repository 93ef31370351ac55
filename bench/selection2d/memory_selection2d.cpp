// Peak memory of a whole 2D session without heights, in bytes a pixel of the frame: the host's frame and everything
// that the library holds. Usage: memory_selection2d [speed [threads]]
#include <cstdio>

#include <omp.h>
#include <sys/resource.h>

#include "selection2d/stack.h"

namespace {

double PeakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0;
}

} // namespace

int main(int argc, char** argv) {
    const std::int32_t speed = argc > 1 ? std::atoi(argv[1]) : 0;
    if (argc > 2) omp_set_num_threads(std::atoi(argv[2]));
    const double before = PeakBytes();
    const bench::Session session = bench::StartSession(speed);
    for (std::int32_t i = 0; i < 3; ++i)
        if (KyfFocusAddImage(session.get(), bench::StackFrame(i).get(), 1, nullptr) != KyfResultOk) return 1;
    const double added = PeakBytes();
    if (KyfFocusMakeCompImage(session.get(), 1, nullptr) != KyfResultOk) return 1;
    std::printf("speed %d: %.1f bytes a pixel after the adds, %.1f after the make (%.0f MiB in all)\n", speed,
                (added - before) / bench::FramePixels(), (PeakBytes() - before) / bench::FramePixels(),
                PeakBytes() / 1048576.0);
    return 0;
}
