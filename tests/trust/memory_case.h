/// One exported call as it is tried without memory: what it works on, made anew for each try, and how it may end.
#ifndef KYFOCUS_TESTS_TRUST_MEMORY_CASE_H
#define KYFOCUS_TESTS_TRUST_MEMORY_CASE_H

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <kyfocus/types.h>

namespace test {

/// How a call ended: its KyfResult, 1 for a call without one, or one of these.
using Outcome = int;
constexpr Outcome kThrew = 1000; ///< std::bad_alloc came out
constexpr Outcome kNull = 0;     ///< null where a record, list or image is given; false

/// One try. Both functions own together what they work on; it goes with them.
struct Try {
    std::function<Outcome()> Run;
    /// Expects what has to hold after that ending, ends what the call worked on, and frees what the call gave.
    std::function<void(Outcome)> Finish;
};

struct MemoryCase {
    std::string Call;      ///< the exported name
    std::string Detail;    ///< what sets this case of the call apart, or ""
    Outcome Whole;         ///< how it ends with all the memory it wants
    std::set<Outcome> Ran; ///< how it may end otherwise, each seen at least once; empty: it asks for no memory
    std::function<Try()> Begin;
    /// What the process keeps after the call depends on how it ended, so that blocks cannot be counted.
    bool IsKeeping = false;
};

/// The calls of kyimaging.
std::vector<MemoryCase> ImagingMemoryCases();
/// Those on a session, and on its results.
std::vector<MemoryCase> SessionMemoryCases();
/// Halation, noise cut, progress, settings, whole compositions of files, the switches of the process.
std::vector<MemoryCase> OtherMemoryCases();

} // namespace test

#endif
