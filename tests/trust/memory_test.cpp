// Every single allocation of every exported call fails once, alone and with all that come after it: the call ends as
// its header tells, nothing leaks, and what it worked on is fit to go on. A process whose first call runs out of
// memory, and one that writes its trace, fare no worse.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <sstream>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/case_files.h"
#include "trust/failing_malloc.h"
#include "trust/memory_case.h"

namespace {

using test::Asked;
using test::Failing;
using test::MemoryCase;
using test::Outcome;

constexpr long kMostAllocations = 20000;

const std::vector<MemoryCase>& Cases() {
    static const std::vector<MemoryCase> cases = [] {
        std::vector<MemoryCase> all;
        for (const auto& some : {test::ImagingMemoryCases(), test::SessionMemoryCases(), test::OtherMemoryCases()})
            all.insert(all.end(), some.begin(), some.end());
        return all;
    }();
    return cases;
}

/// How a try ended, and what it asked for until then.
struct Ended {
    Outcome Result;
    Asked Memory;
};

Ended RunOnce(const MemoryCase& one, long n, Failing which) {
    const test::Try attempt = one.Begin();
    Outcome outcome = 0;
    test::FailAllocations(n, which);
    try {
        outcome = attempt.Run();
    } catch (const std::bad_alloc&) {
        outcome = test::kThrew;
    }
    const Asked asked = test::EndFailing();
    attempt.Finish(outcome);
    return {outcome, asked};
}

/// The blocks that a try leaves behind, each time anew: what a process makes once and keeps is there at the second try.
long Leaked(const MemoryCase& one, long n, Failing which, Ended& ended) {
    long left = 0;
    for (int i = 0; i < 2; ++i) {
        const long before = test::LiveBlocks();
        ended = RunOnce(one, n, which);
        left = test::LiveBlocks() - before;
        if (left == 0 || one.IsKeeping) return 0;
    }
    return left;
}

Ended RunWhole(const MemoryCase& one) { return RunOnce(one, kMostAllocations, Failing::One); }

class Memory : public testing::TestWithParam<std::size_t> {
  protected:
    const MemoryCase& One() const { return Cases()[GetParam()]; }

    /// Fails one allocation after the other until the call asks for no more. @param seen  Receives the endings.
    void FailEach(Failing which, std::set<Outcome>& seen) const {
        for (long n = 0; n < kMostAllocations; ++n) {
            Ended ended{};
            const long leaked = Leaked(One(), n, which, ended);
            if (HasFailure()) FAIL() << "with allocation " << n << " failing";
            ASSERT_EQ(leaked, 0) << "blocks, with allocation " << n << " failing";
            if (!ended.Memory.HasFailed) {
                ASSERT_EQ(ended.Result, One().Whole);
                return;
            }
            ASSERT_TRUE(One().Ran.contains(ended.Result)) << "allocation " << n << " fails: " << ended.Result;
            seen.insert(ended.Result);
        }
        FAIL() << "no end of allocations";
    }
};

TEST_P(Memory, EachAllocationThatFailsIsTold) {
    ASSERT_EQ(RunWhole(One()).Result, One().Whole);
    std::set<Outcome> seen;
    FailEach(Failing::One, seen);
    if (HasFatalFailure()) return;
    FailEach(Failing::AllLater, seen);
    if (HasFatalFailure()) return;
    EXPECT_EQ(seen, One().Ran) << "an ending that never comes would be allowed for nothing";
}

/// In a process of its own, which ends with 0 when the allocation was the last one, 1 when the call ended as told, and
/// otherwise badly.
int RunFirst(const MemoryCase& one, long n) {
    const pid_t child = fork();
    if (child == 0) {
        const Ended ended = RunOnce(one, n, Failing::One);
        // What is made once may be done without, such as the answer whether there is a graphics processor.
        const bool isTold = ended.Result == one.Whole || (ended.Memory.HasFailed && one.Ran.contains(ended.Result));
        if (!isTold) std::fprintf(stderr, "ended with %d\n", ended.Result);
        std::exit(testing::Test::HasFailure() || !isTold ? 2 : ended.Memory.HasFailed ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 3;
}

TEST_P(Memory, AFirstCallThatFailsIsTold) {
    long n = 0;
    // Not every one of thousands: which of them come in a first call alone does not depend on where in a stage it is.
    for (int end = 1; end == 1 && n < kMostAllocations; n += 1 + n / 16) {
        end = RunFirst(One(), n);
        ASSERT_LE(end, 1) << "with allocation " << n << " failing";
    }
    EXPECT_LT(n, kMostAllocations);
}

TEST_P(Memory, TheTraceMayFailToo) {
    const test::TemporaryFolder folder;
    KyiSetTraceLogFolder(folder.Path().wstring().c_str());
    KyiSetPuttingTraceLog(1);
    for (long n = 0; n < kMostAllocations; n += 1 + n / 16) {
        Ended ended{};
        ASSERT_EQ(Leaked(One(), n, Failing::One, ended), 0) << "blocks, with allocation " << n << " failing";
        ASSERT_FALSE(HasFailure()) << "with allocation " << n << " failing";
        KyiSetPuttingTraceLog(1); // some cases switch it themselves
        if (!ended.Memory.HasFailed) break;
        ASSERT_TRUE(ended.Result == One().Whole || One().Ran.contains(ended.Result)) << n << ": " << ended.Result;
    }
    KyiSetPuttingTraceLog(0);
}

std::string NameOf(const testing::TestParamInfo<std::size_t>& info) {
    std::string name = Cases()[info.param].Call + (Cases()[info.param].Detail.empty() ? "" : "_");
    for (const char letter : Cases()[info.param].Detail)
        name += std::isalnum(static_cast<unsigned char>(letter)) ? letter : '_';
    return name;
}
INSTANTIATE_TEST_SUITE_P(Calls, Memory, testing::Range<std::size_t>(0, Cases().size()), NameOf);

/// Exported names of a library, classes by their own name. The interface's conversions for its classes are left out.
std::set<std::string> ExportedBy(const std::string& library) {
    std::set<std::string> names;
    FILE* const list = popen(("nm --dynamic --defined-only --demangle " + library).c_str(), "r");
    if (!list) return names;
    char line[1000];
    while (std::fgets(line, sizeof line, list)) {
        std::istringstream words(line);
        std::string address;
        std::string kind;
        std::string name;
        words >> address >> kind >> name;
        if (kind != "T") continue; // tables of classes are data
        names.insert(name.substr(0, name.find_first_of(":(")));
    }
    pclose(list);
    return names;
}

TEST(ExportedCalls, AreAllTriedWithoutMemory) {
    std::set<std::string> exported = ExportedBy(KY_IMAGING_LIBRARY);
    exported.merge(ExportedBy(KY_FOCUS_LIBRARY));
    EXPECT_GT(exported.size(), 100U);
    std::set<std::string> tried;
    for (const MemoryCase& one : Cases()) tried.insert(one.Call);
    EXPECT_EQ(tried, exported);
}

} // namespace
