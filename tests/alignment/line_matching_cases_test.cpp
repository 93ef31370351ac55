// Frames moved by line matching, against computed results.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "alignment/line_matching.h"
#include "alignment/line_matching_score.h"
#include "filters/shapes.h"
#include "support/arrays.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

using nlohmann::json;

constexpr const char* kTopic = "alignment";

/// The shown channels, and behind them the unused sample of four-byte pixels.
std::vector<std::int32_t> AllPlanes(const KyiImageData& image) {
    std::vector<std::int32_t> planes = test::ToPlanes(image);
    for (std::int32_t y = 0; image.PixelBytes == 4 && y < image.Height; ++y)
        for (std::int32_t x = 0; x < image.Width; ++x)
            planes.push_back(*static_cast<const std::uint8_t*>(KyiGetPixelAddress(&image, x, y)));
    return planes;
}

class LineMatchingCases : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        m_case = test::LoadCase(kTopic, GetParam());
        m_frames = test::ReadInts(m_case.File("frames.npy"));
        m_profiles = test::ReadInts(m_case.File("Profiles.npy"));
        m_matching.BandRatio = m_case.Json.at("BandRatio").get<double>();
        m_matching.SearchRatio = m_case.Json.at("SearchRatio").get<double>();
        m_state.SourceWidth = static_cast<std::int32_t>(m_frames.Shape[3]);
        m_state.SourceHeight = static_cast<std::int32_t>(m_frames.Shape[2]);
    }
    void TearDown() override { kyf::FreeLineMatching(m_matching); }

    std::int32_t Field(const char* name) const { return m_case.Json.at(name).get<std::int32_t>(); }
    test::Image Frame(std::size_t i) const {
        return test::FromPlanes(m_state.SourceWidth, m_state.SourceHeight, Field("Format"), m_frames.Entry(i));
    }
    void SetUpRecord(KyiBool parallel) {
        const bool isFrame = m_case.Json.at("first_image").get<std::string>() == "frame";
        kyf::SetUpLineMatching(m_matching, Field("MatchingDetectType"), m_state, *Frame(0),
                               isFrame ? kyf::ProfileSource::FirstChannel : kyf::ProfileSource::Gray, parallel);
    }
    std::vector<std::int32_t> ProfilesOf() const;
    std::vector<std::int32_t> OrderOf() const {
        if (!m_matching.LineOrder) return {};
        return {m_matching.LineOrder, m_matching.LineOrder + m_matching.LineCount};
    }
    void CheckSetUp();
    void CheckScores(const json& expected, const kyf::LineMatch& match) const;
    void CheckFrame(std::size_t i, KyiBool parallel);

    test::Case m_case;
    test::Array<std::int32_t> m_frames;
    test::Array<std::int32_t> m_profiles;
    KyfLineMatching m_matching{};
    KyfCompositionState m_state{};
};

std::vector<std::int32_t> LineMatchingCases::ProfilesOf() const {
    std::vector<std::int32_t> profiles;
    const auto append = [&](const std::int32_t* profile) {
        profiles.insert(profiles.end(), profile, profile + m_state.SourceWidth);
    };
    if (m_matching.Profile) append(m_matching.Profile);
    for (std::int32_t band = 0; m_matching.LineProfiles && band < m_matching.LineCount; ++band)
        append(m_matching.LineProfiles[band]);
    return profiles;
}

void LineMatchingCases::CheckSetUp() {
    EXPECT_EQ(m_matching.BandHeight, Field("BandHeight"));
    EXPECT_EQ(OrderOf(), m_case.Json.at("LineOrder_after_first").get<std::vector<std::int32_t>>());
    if (m_case.Json.contains("CentreRow")) {
        EXPECT_EQ(m_matching.CentreRow, Field("CentreRow"));
    }
    if (m_case.Json.contains("LineRows")) {
        EXPECT_EQ(std::vector(m_matching.LineRows, m_matching.LineRows + m_matching.LineCount),
                  m_case.Json.at("LineRows").get<std::vector<std::int32_t>>());
    }
    EXPECT_TRUE(test::SameValues(m_profiles.Entry(0), ProfilesOf()));
}

// What each band that was asked has said, from the record before the frame counts.
void LineMatchingCases::CheckScores(const json& expected, const kyf::LineMatch& match) const {
    const auto range = kyf::SearchRange::Of(m_matching.SearchRatio, m_state.SourceWidth);
    const auto judge = [&](const std::int32_t* before, const std::int32_t* now) {
        return kyf::JudgeScores(kyf::ScoreDisplacements(before, now, m_state.SourceWidth, range), range);
    };
    std::vector<std::int32_t> candidates;
    std::vector<double> scores;
    std::vector<std::int32_t> runs;
    for (std::size_t place = 0; place < expected.at("candidates").size(); ++place) {
        const auto band = match.Profile ? std::size_t{0} : static_cast<std::size_t>(m_matching.LineOrder[place]);
        const kyf::BandMatch said = match.Profile
                                        ? judge(m_matching.Profile, match.Profile.get())
                                        : judge(m_matching.LineProfiles[band], match.LineProfiles[band].get());
        candidates.push_back(said.Shift);
        scores.push_back(said.Score);
        if (!match.Profile) runs.push_back(said.Runs);
    }
    EXPECT_EQ(candidates, expected.at("candidates").get<std::vector<std::int32_t>>());
    EXPECT_TRUE(test::SameValues(expected.at("greatest_scores").get<std::vector<double>>(), scores));
    EXPECT_EQ(runs, expected.at("runs_of_high_scores").get<std::vector<std::int32_t>>());
}

void LineMatchingCases::CheckFrame(std::size_t i, KyiBool parallel) {
    SCOPED_TRACE("frame " + std::to_string(i));
    const json& expected = m_case.Json.at("aligned")[i - 1];
    const test::Image frame = Frame(i);
    kyf::LineMatch match = kyf::MatchLines(m_matching, *frame, parallel);
    CheckScores(expected, match);
    kyf::AcceptLineMatch(m_matching, match);
    kyf::MoveRows(*frame, m_matching.TotalShift, parallel);
    EXPECT_EQ(match.Shift, expected.at("shift").get<std::int32_t>());
    EXPECT_EQ(m_matching.TotalShift, expected.at("TotalShift").get<std::int32_t>());
    EXPECT_EQ(m_matching.MinShift, expected.at("MinShift").get<std::int32_t>());
    EXPECT_EQ(m_matching.MaxShift, expected.at("MaxShift").get<std::int32_t>());
    EXPECT_EQ(OrderOf(), expected.at("LineOrder").get<std::vector<std::int32_t>>());
    EXPECT_TRUE(test::SameValues(m_profiles.Entry(i), ProfilesOf()));
    const std::vector<std::int32_t> planes = AllPlanes(*frame);
    EXPECT_EQ(test::Hash(planes), expected.at("moved_check").get<std::string>());
    if (!m_case.Json.at("moved_frame").is_null() && Field("moved_frame") == static_cast<std::int32_t>(i)) {
        EXPECT_TRUE(test::SameValues(test::ReadInts(m_case.File("moved.npy")).Values, planes));
    }
}

TEST_P(LineMatchingCases, GiveTheFramesOfTheModel) {
    for (const test::Threads threads : test::kThreads) {
        SCOPED_TRACE(testing::Message() << "flag " << threads.Flag << ", threads " << threads.Count);
        const test::ThreadScope scope(threads.Count);
        SetUpRecord(threads.Flag);
        CheckSetUp();
        for (std::size_t i = 1; i < m_frames.Shape[0]; ++i) CheckFrame(i, threads.Flag);
    }
}

INSTANTIATE_TEST_SUITE_P(, LineMatchingCases, testing::ValuesIn(test::CaseNames(kTopic, "lines")),
                         [](const auto& chosen) { return chosen.param; });

} // namespace
