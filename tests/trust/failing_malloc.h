/// Takes the place of the allocators of a whole process, the C library's and the codecs' as well: each block and each
/// anonymous mapping is counted, and those asked for can be made to fail.
///
/// Blocks come filled with 0xA5 and are filled with 0xDB before they go, so that a use of either shows. What the OpenMP
/// runtime and the system's loader ask for on their own never fails: both end the process where they have no memory.
/// Not for builds with checks, which bring allocators of their own.
#ifndef KYFOCUS_TESTS_TRUST_FAILING_MALLOC_H
#define KYFOCUS_TESTS_TRUST_FAILING_MALLOC_H

namespace test {

/// Which allocations fail from now on: the n-th, counted from 0, and no other one, or all later ones too.
enum class Failing { One, AllLater };
void FailAllocations(long n, Failing which);

/// What the allocators were asked since FailAllocations, which ends here.
struct Asked {
    long Allocations;
    bool HasFailed;
};
Asked EndFailing();

/// Blocks and mappings that are there now.
long LiveBlocks();

} // namespace test

#endif
