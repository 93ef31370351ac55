// Trees played step by step against recorded callbacks and percents.
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "progress/tree.h"
#include "support/case_files.h"

namespace {

/// "root/2/0": the first child of the third child of the root.
KyfProgress* FindNode(const test::Tree& tree, std::string_view path) {
    KyfProgress* node = tree.Root;
    for (std::size_t slash = path.find('/'); slash != std::string_view::npos; slash = path.find('/')) {
        path.remove_prefix(slash + 1);
        std::int32_t place = -1;
        std::from_chars(path.data(), path.data() + path.size(), place);
        if (place < 0 || place >= node->SubCount) throw std::runtime_error("no such node");
        node = node->SubList[place];
    }
    return node;
}

std::string PathOf(const KyfProgress* node) {
    if (node->Parent == nullptr) return "root";
    std::int32_t place = 0;
    while (node->Parent->SubList[place] != node) ++place;
    return PathOf(node->Parent) + "/" + std::to_string(place);
}

/// The percent that a step set: told by its callback. A step without one set what stood there already.
std::int32_t PercentToSet(const nlohmann::json& step, const KyfProgress& node) {
    const nlohmann::json& events = step.at("events");
    return events.empty() ? node.Percent : events.at(0).at(1).get<std::int32_t>();
}

void Play(const nlohmann::json& step, test::Tree& tree) {
    KyfProgress* const node = FindNode(tree, step.at("node").get<std::string>());
    const std::string action = step.at("do");
    if (action == "append")
        tree.Append(node, step.at("count"), step.at("equal"));
    else if (action == "weight")
        node->Weight = step.at("value");
    else if (action == "set")
        KyfProgressSetPersent(node, PercentToSet(step, *node));
    else if (action == "complete")
        KyfProgressCompleteProc(node);
    else
        FAIL() << "unknown step " << action;
}

using Event = std::tuple<std::string, std::int32_t, std::int32_t>;

std::vector<Event> TakeEvents(test::Tree& tree) {
    std::vector<Event> events;
    for (const auto& event : tree.Events) events.emplace_back(PathOf(event.Node), event.NodePercent, event.RootPercent);
    tree.Events.clear();
    return events;
}

class ProgressCases : public testing::TestWithParam<std::string> {};

TEST_P(ProgressCases, GiveTheRecordedCallbacksAndPercents) {
    const test::Case recorded = test::LoadCase("progress", GetParam());
    test::Tree tree;
    std::size_t number = 0;
    for (const auto& step : recorded.Json.at("steps")) {
        SCOPED_TRACE("step " + std::to_string(number++));
        Play(step, tree);
        EXPECT_EQ(TakeEvents(tree), step.at("events").get<std::vector<Event>>());
        EXPECT_EQ(KyfProgressGetPersent(tree.Root), step.at("percent").get<std::int32_t>());
    }
    for (const auto& row : recorded.Json.at("final")) {
        const KyfProgress* const node = FindNode(tree, row.at(0).get<std::string>());
        SCOPED_TRACE(row.at(0));
        EXPECT_EQ(node->Weight, row.at(1).get<std::int32_t>());
        EXPECT_EQ(node->Percent, row.at(2).get<std::int32_t>());
        EXPECT_EQ(node->Completed != 0, row.at(3).get<std::int32_t>() != 0);
        EXPECT_EQ(KyfProgressGetPersent(node), row.at(4).get<std::int32_t>());
    }
}

TEST(ProgressListCases, HaveTheRecordedWeights) {
    for (const std::string& name : test::CaseNames("progress", "weights")) {
        const test::Case recorded = test::LoadCase("progress", name);
        for (const auto& row : recorded.Json.at("rows")) {
            const std::int32_t count = row.at(0);
            SCOPED_TRACE("count " + std::to_string(count));
            KyfProgress** const list = KyfProgressCreateSubList(count, row.at(1));
            const test::Tree owner;
            KyfAppendProgress(owner.Root, list, count);
            std::vector<std::int32_t> weights;
            for (std::int32_t i = 0; i < owner.Root->SubCount; ++i) weights.push_back(list[i]->Weight);
            EXPECT_EQ(list == nullptr, row.at(2).empty());
            EXPECT_EQ(weights, row.at(2).get<std::vector<std::int32_t>>());
        }
    }
}

std::vector<std::string> TreeCases() {
    std::vector<std::string> names = test::CaseNames("progress");
    std::erase_if(names, [](const std::string& name) { return name.starts_with("weights"); });
    return names;
}

std::string Name(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(Recorded, ProgressCases, testing::ValuesIn(TreeCases()), Name);

} // namespace
