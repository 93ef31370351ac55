// Calls in any order on one focus session, with any settings, frames and heights; session_calls.h tells what a host
// must not do.
#include <cstddef>
#include <cstdint>

#include <omp.h>

#include "session/session_calls.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int kMostCalls = 30;
    fuzz::Choices choices({data, size});
    omp_set_num_threads(choices.Byte() % 8 == 7 ? 3 : 1); // threads cost more than the work on small frames
    fuzz::SessionCalls calls(choices);
    for (int call = 0; call < kMostCalls && !choices.AtEnd(); ++call) calls.Call();
    return 0;
}
