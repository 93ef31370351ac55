#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "progress/progress_proc_manager.h"
#include "progress/tree.h"

namespace {

std::vector<std::int32_t> Weights(std::int32_t count, KyiBool equal) {
    const test::Tree tree;
    KyfProgress** const list = tree.Append(tree.Root, count, equal);
    std::vector<std::int32_t> weights;
    for (std::int32_t i = 0; i < count; ++i) weights.push_back(list[i]->Weight);
    return weights;
}

TEST(ProgressRoot, StartsAtZeroWithTheHostsValues) {
    int value = 0;
    KyfProgress* const root = KyfAllocProgress(nullptr, &value);
    EXPECT_EQ(root->Weight, 100);
    EXPECT_EQ(root->Percent, 0);
    EXPECT_EQ(root->Callback, nullptr);
    EXPECT_EQ(KyfProgressGetArgs(root), &value);
    EXPECT_EQ(root->Parent, nullptr);
    EXPECT_EQ(root->SubList, nullptr);
    EXPECT_EQ(root->SubCount, 0);
    EXPECT_EQ(root->Completed, 0);
    KyfFreeProgress(root);
}

TEST(ProgressRoot, RunsSilentlyToAHundredWithoutACallback) {
    KyfProgress* const root = KyfAllocProgress(nullptr, nullptr);
    KyfProgressSetPersent(root, 40);
    EXPECT_EQ(KyfProgressGetPersent(root), 40);
    KyfProgressCompleteProc(root);
    EXPECT_EQ(KyfProgressGetPersent(root), 100);
    KyfFreeProgress(root);
}

TEST(ProgressRoot, ANodeThatIsItsOwnParentIsOne) {
    test::Tree tree;
    tree.Root->Parent = tree.Root;
    EXPECT_EQ(KyfProgressGetParent(tree.Root), tree.Root);
    KyfProgressCompleteProc(tree.Root);
    ASSERT_EQ(tree.Events.size(), 1U);
    EXPECT_EQ(tree.Events[0].NodePercent, 100);
}

TEST(ProgressRoot, IsFoundFromAnyDepth) {
    const test::Tree tree;
    KyfProgress* node = tree.Root;
    for (int depth = 0; depth < 5; ++depth) node = tree.Append(node, 3)[depth % 3];
    EXPECT_EQ(KyfProgressGetParent(node), tree.Root);
    EXPECT_EQ(KyfProgressGetParent(tree.Root), tree.Root);
}

TEST(ProgressNull, IsLegalWhereWorkMayHaveNoNode) {
    KyfFreeProgress(nullptr);
    KyfProgressCompleteProc(nullptr);
    KyfProgressSetPersent(nullptr, 5);
    KyfAppendProgress(nullptr, nullptr, 0);
    EXPECT_EQ(KyfProgressGetParent(nullptr), nullptr);
}

TEST(ProgressList, EqualWeightsAddUpToOneAboveAHundred) {
    EXPECT_EQ(Weights(1, 1), (std::vector<std::int32_t>{101}));
    EXPECT_EQ(Weights(2, 1), (std::vector<std::int32_t>{51, 50}));
    EXPECT_EQ(Weights(3, 1), (std::vector<std::int32_t>{34, 34, 33}));
    for (const std::int32_t count : {4, 7, 10, 99, 100, 101, 102, 200, 1000}) {
        SCOPED_TRACE(count);
        const std::vector<std::int32_t> weights = Weights(count, 1);
        EXPECT_EQ(std::accumulate(weights.begin(), weights.end(), 0), 101);
        EXPECT_TRUE(std::is_sorted(weights.rbegin(), weights.rend()));
        EXPECT_LE(weights.front() - weights.back(), 1);
    }
}

TEST(ProgressList, WeighsAHundredEachWhenNotEqual) {
    EXPECT_EQ(Weights(3, 0), (std::vector<std::int32_t>{100, 100, 100}));
}

TEST(ProgressList, IsNullForACountBelowOne) {
    EXPECT_EQ(KyfProgressCreateSubList(0, 1), nullptr);
    EXPECT_EQ(KyfProgressCreateSubList(-3, 1), nullptr);
    const test::Tree tree;
    KyfAppendProgress(tree.Root, nullptr, 0);
    EXPECT_EQ(tree.Root->SubList, nullptr);
    EXPECT_EQ(tree.Root->SubCount, 0);
}

TEST(ProgressList, IsClearedAndNotFreedByACountOfZero) {
    const test::Tree tree;
    KyfProgress** const list = tree.Append(tree.Root, 2);
    KyfAppendProgress(tree.Root, nullptr, 0);
    EXPECT_EQ(tree.Root->SubList, nullptr);
    EXPECT_EQ(tree.Root->SubCount, 0);
    EXPECT_EQ(KyfProgressGetPersent(tree.Root), 0);
    KyfAppendProgress(tree.Root, list, 2);
    KyfProgressCompleteProc(list[0]);
    EXPECT_EQ(KyfProgressGetPersent(tree.Root), 51);
}

TEST(ProgressList, HandsCallbackAndValueDown) {
    const test::Tree tree;
    KyfProgress** const list = tree.Append(tree.Root, 2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(list[i]->Parent, tree.Root);
        EXPECT_EQ(list[i]->Callback, tree.Root->Callback);
        EXPECT_EQ(list[i]->Args, tree.Root->Args);
    }
}

TEST(ProgressPercent, IsReportedWhenItChangesAndNotClamped) {
    test::Tree tree;
    KyfProgressSetPersent(tree.Root, 0);
    EXPECT_TRUE(tree.Events.empty());
    KyfProgressSetPersent(tree.Root, 250);
    KyfProgressSetPersent(tree.Root, 250);
    ASSERT_EQ(tree.Events.size(), 1U);
    EXPECT_EQ(tree.Events[0].RootPercent, 250);
}

TEST(ProgressCompletion, HappensOnceAndTellsTheParent) {
    test::Tree tree;
    KyfProgress** const list = tree.Append(tree.Root, 2);
    KyfProgressSetPersent(list[1], 30);
    KyfProgressCompleteProc(list[0]);
    ASSERT_EQ(tree.Events.size(), 2U);
    EXPECT_EQ(tree.Events[1].Node, tree.Root);
    EXPECT_EQ(tree.Events[1].NodePercent, 51);
    EXPECT_EQ(tree.Events[1].RootPercent, 66);
    KyfProgressCompleteProc(list[0]);
    EXPECT_EQ(tree.Events.size(), 2U);
}

TEST(ProgressSteps, AreNullWithoutANodeOrACount) {
    kyf::CProgressProcManager none(nullptr, 3);
    EXPECT_EQ(none.GetCurrent(), nullptr);
    none.Next();
    const test::Tree tree;
    kyf::CProgressProcManager noSteps(tree.Root, 0);
    EXPECT_EQ(noSteps.GetCurrent(), nullptr);
    EXPECT_EQ(tree.Root->SubList, nullptr);
}

TEST(ProgressSteps, GoThroughTheListAndLeaveTheNodesToTheTree) {
    const test::Tree tree;
    {
        kyf::CProgressProcManager steps(tree.Root, 3);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(steps.GetCurrent(), tree.Root->SubList[i]);
            EXPECT_EQ(steps.GetCurrent()->Completed, 0);
            steps.Next();
            EXPECT_NE(tree.Root->SubList[i]->Completed, 0);
        }
        EXPECT_EQ(steps.GetCurrent(), nullptr);
    }
    EXPECT_EQ(KyfProgressGetPersent(tree.Root), 101);
    EXPECT_EQ(tree.Root->Completed, 0);
}

} // namespace
