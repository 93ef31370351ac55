// Recorded series, equal to the sample.
#include <algorithm>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <omp.h>

#include "filters/shapes.h"
#include "halation/record.h"
#include "progress/tree.h"
#include "reference/halation.h"
#include "support/arrays.h"
#include "support/case_files.h"

namespace {

using Event = std::tuple<std::string, std::int32_t, std::int32_t>;

std::string PathOf(const KyfProgress* node) {
    if (node->Parent == nullptr) return "root";
    std::int32_t place = 0;
    while (node->Parent->SubList[place] != node) ++place;
    return PathOf(node->Parent) + "/" + std::to_string(place);
}

using Events = std::vector<Event>;

Events EventsOf(const test::Tree& tree) {
    Events events;
    for (const auto& event : tree.Events) events.emplace_back(PathOf(event.Node), event.NodePercent, event.RootPercent);
    return events;
}

/// What is left of callbacks where the smoothings run in parallel: their passes, "root/0/0" for one, tell nothing
/// before they are done.
Events WithoutPasses(Events events) {
    std::erase_if(events, [](const Event& event) {
        const std::string& path = std::get<0>(event);
        return std::count(path.begin(), path.end(), '/') > 1;
    });
    return events;
}

/// Recorded callbacks as they are with this flag on this machine.
Events ExpectedEvents(const nlohmann::json& recorded, KyiBool flag) {
    auto events = recorded.get<Events>();
    return flag != 0 && omp_get_num_procs() > 1 ? WithoutPasses(std::move(events)) : events;
}

class HalationCases : public testing::TestWithParam<std::string> {
  protected:
    HalationCases() : m_case(test::LoadCase("halation", GetParam())) {}

    template <typename T> T Value(const char* name) const { return m_case.Json.at(name).get<T>(); }
    std::size_t FrameCount() const { return Value<std::size_t>("frame_count"); }

    test::Image Load(const std::string& name, std::int32_t format) const {
        const auto samples = test::ReadInts(m_case.File(name + ".npy"));
        test::Image image =
            test::FromPlanes(Value<std::int32_t>("width"), Value<std::int32_t>("height"), format, samples.Values);
        image->Origin = Value<std::int32_t>("origin");
        return image;
    }
    test::Image Frame(std::size_t number) const {
        return Load("frame_" + std::to_string(number), Value<std::int32_t>("format"));
    }

    test::Record Start() const {
        const KyfHalationParameter parameter{Value<std::int32_t>("Threshold"), Value<std::int32_t>("PreSmoothing"),
                                             Value<std::int32_t>("MaskSmoothing")};
        test::Record record = test::NewRecord();
        EXPECT_EQ(KyfHalationStart(record.get(), &parameter), Value<KyfResult>("start_result"));
        return record;
    }

    void AddAndCompare(const test::Record& record, std::size_t number, KyiBool flag, KyfProgress* progress) const {
        SCOPED_TRACE("frame " + std::to_string(number));
        const test::Image frame = Frame(number);
        EXPECT_EQ(test::Add(record, frame, flag, progress), m_case.Json.at("results").at(number).get<KyfResult>());
        EXPECT_EQ(record->ImageCount, m_case.Json.at("ImageCount").at(number).get<std::int32_t>());
        const test::Image expected =
            number == 0 ? Frame(0) : Load("result_" + std::to_string(number), Value<std::int32_t>("format"));
        EXPECT_TRUE(test::SameImage(*expected, *record->RemovalImage));
    }

    test::Case m_case;
};

TEST_P(HalationCases, GiveTheRecordedImagesWhateverTheThreads) {
    for (const test::Threads threads : test::kThreads) {
        const test::ThreadScope scope(threads.Count);
        const test::Record record = Start();
        for (std::size_t number = 0; number < FrameCount(); ++number)
            AddAndCompare(record, number, threads.Flag, nullptr);
    }
}

TEST_P(HalationCases, GiveTheRecordedImagesAndCallbacksWithANode) {
    for (const KyiBool flag : {0, 1}) {
        const test::Record record = Start();
        for (std::size_t number = 0; number < FrameCount(); ++number) {
            test::Tree tree;
            AddAndCompare(record, number, flag, tree.Root);
            if (m_case.Json.contains("progress_events")) {
                EXPECT_EQ(EventsOf(tree), ExpectedEvents(m_case.Json.at("progress_events").at(number), flag));
            }
        }
    }
}

// The recorded pictures are replaced by ones of which half is over-bright: what is told depends on sizes alone.
TEST_P(HalationCases, GiveTheRecordedCallbacksWhateverIsBlended) {
    if (!m_case.Json.contains("progress_events")) return;
    const auto width = Value<std::int32_t>("width");
    const auto height = Value<std::int32_t>("height");
    const auto format = Value<std::int32_t>("format");
    for (const test::Threads threads : test::kThreads) {
        const test::ThreadScope scope(threads.Count);
        const test::Record record = Start();
        const test::Image bright = test::HalvesImage(width, height, format, 10, 240);
        ASSERT_EQ(test::Add(record, bright), KyfResultOk);
        test::Tree tree;
        ASSERT_EQ(test::Add(record, test::HalvesImage(width, height, format, 90, 30), threads.Flag, tree.Root),
                  KyfResultOk);
        EXPECT_EQ(EventsOf(tree), ExpectedEvents(m_case.Json.at("progress_events").at(1), threads.Flag));
        const std::vector<std::int32_t> before = test::ToPlanes(*bright);
        const std::vector<std::int32_t> after = test::ToPlanes(*record->RemovalImage);
        EXPECT_EQ(after.front(), before.front());
        EXPECT_LT(after.back(), before.back() / 4) << "the mask is not empty";
    }
}

TEST_P(HalationCases, GiveTheRecordedStagesInThePlainForm) {
    const reference::HalationSettings settings{Value<std::int32_t>("Threshold"), Value<std::int32_t>("PreSmoothing"),
                                               Value<std::int32_t>("MaskSmoothing")};
    test::Image result = Frame(0);
    reference::HalationStages stages;
    for (std::size_t number = 1; number < FrameCount(); ++number) {
        stages = reference::AddToHalation(*result, *Frame(number), settings, false);
        result = std::move(stages.Result);
        EXPECT_TRUE(test::SameImage(*Load("result_" + std::to_string(number), result->Format), *result));
    }
    EXPECT_TRUE(test::SameImage(*Load("smoothed", result->Format), *stages.Smoothed));
    EXPECT_TRUE(test::SameImage(*Load("mask", KyiFormatGray8), *stages.Mask));
    EXPECT_TRUE(test::SameImage(*Load("softened_mask", KyiFormatGray8), *stages.SoftMask));
}

std::string Name(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(Recorded, HalationCases, testing::ValuesIn(test::CaseNames("halation")), Name);

} // namespace
