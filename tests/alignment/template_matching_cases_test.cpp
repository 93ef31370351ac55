#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "alignment/pattern_matching.h"
#include "alignment/template_matching.h"
#include "alignment/template_session.h"
#include "alignment/template_transform.h"
#include "support/arrays.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

using nlohmann::json;

constexpr const char* kTopic = "alignment";

std::array<std::int32_t, 4> Values(const KyfRect& rectangle) {
    return {rectangle.Left, rectangle.Top, rectangle.Right, rectangle.Bottom};
}

std::array<std::int32_t, 4> Rectangle(const json& values) { return values.get<std::array<std::int32_t, 4>>(); }

std::string PathOf(const KyfProgress& node) {
    if (!node.Parent || node.Parent == &node) return "root";
    int place = 0;
    while (node.Parent->SubList[place] != &node) ++place;
    return PathOf(*node.Parent) + "/" + std::to_string(place);
}

void RecordCall(KyfProgress* node) {
    auto& calls = *static_cast<json*>(KyfProgressGetArgs(node));
    calls.push_back({PathOf(*node), node->Percent, KyfProgressGetPersent(KyfProgressGetParent(node))});
}

class TemplateFrameCases : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        m_case = test::LoadCase(kTopic, GetParam());
        m_frames = test::ReadInts(m_case.File("frames.npy"));
        m_session.Record().AreaNo = m_case.Json.at("AreaNo").get<std::int32_t>();
        const auto places = m_case.Json.at("AreaPos").get<std::vector<std::array<std::int32_t, 2>>>();
        for (std::size_t i = 0; i < places.size(); ++i) m_session.Record().AreaPos[i] = {places[i][0], places[i][1]};
    }

    test::Image Frame(std::size_t i) const {
        return test::FromPlanes(static_cast<std::int32_t>(m_frames.Shape[3]),
                                static_cast<std::int32_t>(m_frames.Shape[2]),
                                m_case.Json.at("Format").get<std::int32_t>(), m_frames.Entry(i));
    }
    void CheckSetUp() const;
    void CheckFrame(std::size_t i, KyiBool parallel);

    test::Case m_case;
    test::Array<std::int32_t> m_frames;
    test::TemplateSession m_session;
};

void TemplateFrameCases::CheckSetUp() const {
    const KyfFocusComposition& session = m_session.Record();
    const json& searched = m_case.Json.at("AreaSearchRects");
    const json& templates = m_case.Json.at("AreaTemplateRects");
    for (std::size_t i = 0; i < searched.size(); ++i) {
        EXPECT_EQ(Values(session.AreaSearchRects[i]), Rectangle(searched[i])) << "area " << i;
        EXPECT_EQ(Values(session.AreaTemplateRects[i]), Rectangle(templates[i])) << "area " << i;
    }
    EXPECT_EQ(Values(session.CommonRect), Rectangle(m_case.Json.at("CommonRect_after_first")));
}

void TemplateFrameCases::CheckFrame(std::size_t i, KyiBool parallel) {
    SCOPED_TRACE(testing::Message() << "frame " << i << ", flag " << parallel);
    const json& expected = m_case.Json.at("aligned")[i - 1];
    json calls = json::array();
    KyfProgress* const root = KyfAllocProgress(RecordCall, &calls);
    const test::Image frame = Frame(i);
    const test::Image aligned = test::RandomImage(frame->Width, frame->Height, frame->Format, 3);
    const KyfFrameShift shift = m_session.Align(*frame, *aligned, parallel, root);
    KyfFreeProgress(root);

    const json& transform = expected.at("FrameShift");
    EXPECT_EQ(shift.ScaleX, transform.at("ScaleX").get<double>());
    EXPECT_EQ(shift.ScaleY, transform.at("ScaleY").get<double>());
    EXPECT_EQ(shift.ShiftX, transform.at("ShiftX").get<std::int32_t>());
    EXPECT_EQ(shift.ShiftY, transform.at("ShiftY").get<std::int32_t>());
    EXPECT_EQ(shift.Angle, transform.at("Angle").get<double>());
    EXPECT_EQ(Values(m_session.Record().CommonRect), Rectangle(expected.at("CommonRect")));
    EXPECT_EQ(calls, expected.at("progress"));
    const auto warped = test::ReadInts(m_case.File("warped.npy"));
    EXPECT_TRUE(test::SameValues(warped.Entry(i - 1), test::ToPlanes(*aligned)));
}

TEST_P(TemplateFrameCases, GiveTheTransformsOfTheModel) {
    for (const KyiBool parallel : {0, 1}) {
        m_session.SetUp(*Frame(0));
        CheckSetUp();
        for (std::size_t i = 1; i < m_frames.Shape[0]; ++i) CheckFrame(i, parallel);
    }
}

// The steps on the way to a transform.
TEST_P(TemplateFrameCases, FindTheAreasWhereTheModelDoes) {
    m_session.SetUp(*Frame(0));
    for (std::size_t i = 1; i < m_frames.Shape[0]; ++i) {
        const json& expected = m_case.Json.at("aligned")[i - 1];
        const test::Image frame = Frame(i);
        const test::FoundAreas areas = m_session.Find(*frame);
        for (std::size_t area = 0; area < areas.Found.size(); ++area) {
            SCOPED_TRACE(testing::Message() << "frame " << i << ", area " << area);
            const auto values = [&](const char* name) {
                return expected.at(name)[area].get<std::array<std::int32_t, 2>>();
            };
            EXPECT_EQ((std::array{areas.Found[area].x, areas.Found[area].y}), values("found"));
        }
        const test::Image aligned = test::RandomImage(frame->Width, frame->Height, frame->Format, 3);
        m_session.Align(*frame, *aligned, 0, nullptr);
    }
}

std::string CaseName(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(, TemplateFrameCases, testing::ValuesIn(test::CaseNames(kTopic, "areas")), CaseName);

} // namespace
