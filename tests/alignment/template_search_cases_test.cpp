#include <gtest/gtest.h>

#include "alignment/pattern_matching.h"
#include "support/arrays.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

constexpr const char* kTopic = "alignment";

test::Image ImageOf(const std::filesystem::path& file) {
    const auto samples = test::ReadInts(file);
    return test::FromPlanes(static_cast<std::int32_t>(samples.Shape[1]), static_cast<std::int32_t>(samples.Shape[0]),
                            KyiFormatGray16, samples.Values);
}

KyfRect WholeOf(const KyiImageData& image) { return {0, 0, image.Width, image.Height}; }

class TemplateSearchCases : public testing::TestWithParam<std::string> {
  protected:
    void Load(KyfPatternMatching& matcher, KyiBool parallel) const {
        const test::Case data = test::LoadCase(kTopic, GetParam());
        const test::Image search = ImageOf(data.File("search.npy"));
        const test::Image sample = ImageOf(data.File("template.npy"));
        kyf::PreparePatternMatching(matcher);
        kyf::LoadSearchImage(matcher, search.get(), WholeOf(*search), parallel);
        kyf::LoadTemplate(matcher, sample.get(), WholeOf(*sample), parallel);
    }
};

TEST_P(TemplateSearchCases, GiveThePositionOfTheModel) {
    const auto expected = test::LoadCase(kTopic, GetParam()).Json.at("position").get<std::array<std::int32_t, 2>>();
    for (const KyiBool parallel : {0, 1}) {
        KyfPatternMatching matcher;
        Load(matcher, parallel);
        const KyPoint found = kyf::SearchTemplate(matcher, parallel);
        EXPECT_EQ(found.x, expected[0]);
        EXPECT_EQ(found.y, expected[1]);
    }
}

TEST_P(TemplateSearchCases, GoThroughTheLevelsOfTheModel) {
    KyfPatternMatching matcher;
    Load(matcher, 0);
    const test::Case data = test::LoadCase(kTopic, GetParam());
    KyPoint best{};
    std::int32_t step = matcher.StartStep;
    for (const nlohmann::json& level : data.Json.at("levels")) {
        SCOPED_TRACE(testing::Message() << "step " << step);
        ASSERT_EQ(level.at("step").get<std::int32_t>(), step);
        const kyf::SearchWindow window =
            step == matcher.StartStep ? kyf::FirstWindow(matcher) : kyf::WindowAround(matcher, best, step);
        EXPECT_EQ((std::array{window.Left, window.Top, window.Right, window.Bottom}),
                  (level.at("window").get<std::array<std::int32_t, 4>>()));
        best = kyf::SearchLevel(matcher, window, step, 0);
        EXPECT_EQ((std::array{best.x, best.y}), (level.at("position").get<std::array<std::int32_t, 2>>()));
        step /= 2;
    }
    EXPECT_EQ(step, 0);
}

std::string CaseName(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(, TemplateSearchCases, testing::ValuesIn(test::CaseNames(kTopic, "search")), CaseName);

} // namespace
