/// A law that breaks ends the program, for libFuzzer to keep the input.
#ifndef KYFOCUS_FUZZ_SUPPORT_REQUIRE_H
#define KYFOCUS_FUZZ_SUPPORT_REQUIRE_H

#include <cstdio>
#include <cstdlib>

namespace fuzz {

inline void Require(bool holds, const char* law) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", law);
    std::abort();
}

} // namespace fuzz

#endif
