// Peak memory of a whole 3D session: the host's frame and everything that the library holds.
// Usage: memory_safe3d [speed [megapixels [frames [threads]]]]
#include <cstdio>

#include <omp.h>
#include <sys/resource.h>

#include "stack.h"

namespace {

double PeakMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

} // namespace

int main(int argc, char** argv) {
    const std::int32_t speed = argc > 1 ? std::atoi(argv[1]) : 0;
    const bench::FrameSize size = bench::SizeOf(argc > 2 ? std::atoi(argv[2]) : 2);
    const std::int32_t frames = argc > 3 ? std::atoi(argv[3]) : bench::StackFrames();
    if (argc > 4) omp_set_num_threads(std::atoi(argv[4]));
    const test::TemporaryFolder folder;
    const bench::Session session = bench::StartSession(speed, folder);
    const bench::Scene scene(size, frames);
    const double before = PeakMiB();
    for (std::int32_t i = 0; i < frames; ++i) bench::AddFrame(*session, *scene.Frame(i), i);
    const double added = PeakMiB();
    if (KyfFocusMakeCompImage(session.get(), 1, nullptr) != KyfResultOk) return 1;
    std::printf("speed %d, %d frames of %d x %d: %.1f MiB after the adds, %.1f after the make\n", speed, frames,
                size.Width, size.Height, added - before, PeakMiB() - before);
    return 0;
}
