// Every allocation of a series fails once. A binary of its own: it takes the place of the allocators.
#include <gtest/gtest.h>

#include "filters/shapes.h"
#include "halation/record.h"
#include "support/failing_allocations.h"

namespace {

constexpr int kMostAllocations = 500;

struct FreeProgress {
    void operator()(KyfProgress* progress) const { KyfFreeProgress(progress); }
};

TEST(OutOfMemory, GivesNullForARecord) {
    if (KY_OWN_OPERATORS == 0) GTEST_SKIP() << "the allocator is the checker's";
    EXPECT_EQ(test::RunWithAllocations(0, [] { return KyfAllocHalationRemoval(); }), nullptr);
}

TEST(OutOfMemory, FailsAFirstFrameThatSucceedsWhenItIsGivenAgain) {
    const test::Record record = test::StartedRecord({100, 20, 50});
    const test::Image frame = test::RandomImage(20, 9, KyiFormatBgr24, 1);
    EXPECT_EQ(test::RunWithAllocations(0, [&] { return test::Add(record, frame); }), KyfResultFailAlloc);
    EXPECT_EQ(record->ImageCount, 0);
    EXPECT_EQ(record->RemovalImage, nullptr);
    EXPECT_EQ(test::Add(record, frame), KyfResultOk);
}

TEST(OutOfMemory, FailsAFrameThatSucceedsWhenItIsGivenAgain) {
    const test::Image first = test::RandomImage(120, 33, KyiFormatBgr24, 1);
    const test::Image second = test::RandomImage(120, 33, KyiFormatBgr24, 2);
    for (const bool watched : {false, true})
        for (const KyiBool parallel : {0, 1}) {
            const test::ThreadScope threads(2);
            const test::Record record = test::StartedRecord({100, 20, 50});
            ASSERT_EQ(test::Add(record, first), KyfResultOk);
            int n = 0;
            for (; n < kMostAllocations; ++n) {
                const std::unique_ptr<KyfProgress, FreeProgress> root(KyfAllocProgress(nullptr, nullptr));
                const KyfResult result = test::RunWithAllocations(
                    n, [&] { return test::Add(record, second, parallel, watched ? root.get() : nullptr); });
                EXPECT_EQ(watched && result == KyfResultOk, root->Completed != 0);
                if (result == KyfResultOk) break;
                ASSERT_EQ(result, KyfResultFailAlloc) << n;
                ASSERT_EQ(record->ImageCount, 1) << n;
                ASSERT_TRUE(test::SamePixelBytes(*first, *record->RemovalImage)) << n;
            }
            ASSERT_LT(n, kMostAllocations);
            EXPECT_GT(n, KY_OWN_OPERATORS != 0 ? 10 : 1) << "too few allocations were seen";
            EXPECT_EQ(record->ImageCount, 2);
        }
}

} // namespace
