#include <gtest/gtest.h>

#include "alignment/frame_warp.h"
#include "support/arrays.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

constexpr const char* kTopic = "alignment";

KyfFrameShift ShiftOf(const nlohmann::json& json) {
    return {json.at("ScaleX").get<double>(), json.at("ScaleY").get<double>(), json.at("ShiftX").get<std::int32_t>(),
            json.at("ShiftY").get<std::int32_t>(), json.at("Angle").get<double>()};
}

class FrameWarpCases : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        m_case = test::LoadCase(kTopic, GetParam());
        const auto planes = test::ReadInts(m_case.File("source.npy"));
        m_source =
            test::FromPlanes(static_cast<std::int32_t>(planes.Shape[2]), static_cast<std::int32_t>(planes.Shape[1]),
                             m_case.Json.at("Format").get<std::int32_t>(), planes.Values);
    }

    test::Case m_case;
    test::Image m_source;
};

TEST_P(FrameWarpCases, GiveTheResultOfTheModel) {
    const auto expected = test::ReadInts(m_case.File("result.npy"));
    for (const KyiBool parallel : {0, 1}) {
        const test::Image warped = test::RandomImage(m_source->Width, m_source->Height, m_source->Format, 7);
        kyf::WarpFrame(*m_source, *warped, ShiftOf(m_case.Json), parallel);
        EXPECT_TRUE(test::SameValues(expected.Values, test::ToPlanes(*warped))) << "parallel flag " << parallel;
    }
}

TEST_P(FrameWarpCases, MapPointsForwardAsTheModelDoes) {
    const auto points = m_case.Json.at("points").get<std::vector<std::array<std::int32_t, 2>>>();
    const auto mapped = m_case.Json.at("mapped").get<std::vector<std::array<std::int32_t, 2>>>();
    ASSERT_EQ(points.size(), mapped.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        const KyPoint point =
            kyf::MapForward({points[i][0], points[i][1]}, m_source->Width, m_source->Height, ShiftOf(m_case.Json));
        EXPECT_EQ(point.x, mapped[i][0]) << "point " << i;
        EXPECT_EQ(point.y, mapped[i][1]) << "point " << i;
    }
}

std::string CaseName(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(, FrameWarpCases, testing::ValuesIn(test::CaseNames(kTopic, "warp")), CaseName);

} // namespace
