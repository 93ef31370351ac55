#include "alignment/line_matching.h"

#include <algorithm>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "alignment/drifting_stack.h"
#include "alignment/line_matching_score.h"
#include "filters/shapes.h"
#include "reference/line_matching.h"
#include "support/images.h"

namespace {

using test::Image;
using test::Shape;
using test::Threads;

constexpr std::uint32_t kSeed = 20240229;

test::Content Contents(int turn) { return turn % 2 ? test::Content::Blobs : test::Content::Noise; }

/// A record with the state block that holds its frames' size.
class Record {
  public:
    Record(std::int32_t detectType, const KyiImageData& first, kyf::ProfileSource source, KyiBool parallel)
        : m_parallel(parallel) {
        Matching.BandRatio = 0.05;
        Matching.SearchRatio = 0.15;
        State.SourceWidth = first.Width;
        State.SourceHeight = first.Height;
        kyf::SetUpLineMatching(Matching, detectType, State, first, source, parallel);
    }
    ~Record() { kyf::FreeLineMatching(Matching); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    /// Matches, accepts and moves a frame.
    std::int32_t Align(KyiImageData& frame) {
        kyf::LineMatch match = kyf::MatchLines(Matching, frame, m_parallel);
        kyf::AcceptLineMatch(Matching, match);
        kyf::MoveRows(frame, Matching.TotalShift, m_parallel);
        return match.Shift;
    }

    KyfLineMatching Matching{};
    KyfCompositionState State{};

  private:
    KyiBool m_parallel;
};

testing::AssertionResult SameProfile(const reference::Profile& expected, const std::int32_t* actual) {
    if (!actual) return testing::AssertionFailure() << "no profile";
    return test::SameValues(expected, std::span(actual, expected.size()));
}

void ExpectSameRecord(const reference::LineMatching& expected, const KyfLineMatching& actual) {
    EXPECT_EQ(expected.BandHeight, actual.BandHeight);
    EXPECT_EQ(expected.TotalShift, actual.TotalShift);
    EXPECT_EQ(expected.MinShift, actual.MinShift);
    EXPECT_EQ(expected.MaxShift, actual.MaxShift);
    if (expected.DetectType == 1) {
        EXPECT_EQ(expected.CentreRow, actual.CentreRow);
        EXPECT_TRUE(SameProfile(expected.Single, actual.Profile));
        EXPECT_EQ(actual.LineProfiles, nullptr);
        return;
    }
    EXPECT_EQ(actual.Profile, nullptr);
    ASSERT_EQ(actual.LineCount, 5);
    EXPECT_EQ(expected.LineRows, std::vector(actual.LineRows, actual.LineRows + 5));
    EXPECT_EQ(expected.LineOrder, std::vector(actual.LineOrder, actual.LineOrder + 5));
    for (std::size_t band = 0; band < 5; ++band)
        EXPECT_TRUE(SameProfile(expected.LineProfiles[band], actual.LineProfiles[band])) << "band " << band;
}

void ExpectSameStack(const std::vector<Image>& frames, std::int32_t detectType, kyf::ProfileSource source,
                     Threads threads) {
    SCOPED_TRACE(testing::Message() << "type " << detectType << ", flag " << threads.Flag << ", threads "
                                    << threads.Count);
    const test::ThreadScope scope(threads.Count);
    reference::LineMatching expected;
    expected.DetectType = detectType;
    expected.SetUp(source == kyf::ProfileSource::Gray ? *reference::GrayCopy(*frames[0]) : *frames[0]);
    Record actual(detectType, *frames[0], source, threads.Flag);
    ExpectSameRecord(expected, actual.Matching);
    for (std::size_t i = 1; i < frames.size(); ++i) {
        const Image plain(KyiDuplicateImageData(frames[i].get(), 0));
        const Image fast(KyiDuplicateImageData(frames[i].get(), 0));
        EXPECT_EQ(expected.Align(*plain), actual.Align(*fast)) << "frame " << i;
        ExpectSameRecord(expected, actual.Matching);
        EXPECT_TRUE(test::SamePixelBytes(*plain, *fast)) << "frame " << i;
    }
}

TEST(LineMatching, EqualsThePlainFormWhateverTheThreads) {
    std::mt19937 random(kSeed);
    int turn = 0;
    for (const Shape shape : test::kAwkwardShapes)
        for (const std::int32_t format : test::AllFormats()) {
            ++turn;
            SCOPED_TRACE(test::Describe(shape, format, static_cast<std::size_t>(turn % 2)));
            std::vector<test::Step> steps;
            for (int i = 0; i < 3; ++i) steps.push_back({static_cast<std::int32_t>(random() % 19) - 9, 0});
            const std::vector<Image> frames =
                test::DriftingStack(shape.Width, shape.Height, format, Contents(turn), steps, kSeed);
            const auto source = turn % 3 ? kyf::ProfileSource::FirstChannel : kyf::ProfileSource::Gray;
            for (const Threads threads : test::kThreads) ExpectSameStack(frames, turn / 2 % 2, source, threads);
            if (HasFailure()) return;
        }
}

TEST(LineMatching, EqualsThePlainFormOnLargerFrames) {
    for (const std::int32_t format : {KyiFormatGray8, KyiFormatGray16, KyiFormatBgr24, KyiFormatBgr48})
        for (const std::int32_t detectType : {0, 1})
            for (const test::Content content : {test::Content::Noise, test::Content::Blobs}) {
                SCOPED_TRACE(testing::Message() << "format " << format << ", content " << static_cast<int>(content));
                const std::vector<Image> frames =
                    test::DriftingStack(353, 401, format, content, {{12, 0}, {-30, 0}, {3, 0}}, kSeed);
                ExpectSameStack(frames, detectType, kyf::ProfileSource::FirstChannel, {1, 2});
            }
}

TEST(LineMatching, EqualsThePlainFormForEverySearchRange) {
    std::mt19937 random(kSeed);
    for (const std::int32_t width : {7, 8, 40, 109, 163})
        for (const double ratio : {0.0, 0.01, 0.15, 0.3, 0.45}) {
            SCOPED_TRACE(testing::Message() << "width " << width << ", ratio " << ratio);
            reference::Profile before;
            reference::Profile now;
            for (std::int32_t x = 0; x < width; ++x) {
                before.push_back(static_cast<std::int32_t>(random() % 65536));
                now.push_back(static_cast<std::int32_t>(random() % 65536));
            }
            const reference::BandScores expected = reference::ScoreBand(before, now, ratio);
            const auto range = kyf::SearchRange::Of(ratio, width);
            const std::vector<double> scores = kyf::ScoreDisplacements(before.data(), now.data(), width, range);
            EXPECT_TRUE(test::SameValues(expected.Scores, scores));
            const kyf::BandMatch match = kyf::JudgeScores(scores, range);
            EXPECT_EQ(expected.Candidate, match.Shift);
            EXPECT_EQ(expected.Greatest, match.Score);
            EXPECT_EQ(expected.Runs, match.Runs);
            EXPECT_EQ(reference::Variance(now), kyf::VarianceOf(now.data(), width));
        }
}

TEST(LineMatching, SearchesNothingWhereTheRangeLeavesNoProfile) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double ratio : {nan, -1.0, 0.5, 7.0, 1e300, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(kyf::SearchRange::Of(ratio, 1000).Count(), 0) << ratio;
    EXPECT_EQ(kyf::SearchRange::Of(0.15, 6).Count(), 0);
    EXPECT_EQ(kyf::SearchRange::Of(0.15, 7).Count(), 2);
}

TEST(LineMatching, FindsTheDriftOfAScene) {
    for (const std::int32_t detectType : {0, 1}) {
        const std::vector<Image> frames =
            test::DriftingStack(400, 300, KyiFormatBgr24, test::Content::Blobs, {{5, 0}, {-12, 0}, {0, 0}}, kSeed);
        Record record(detectType, *frames[0], kyf::ProfileSource::Gray, 0);
        EXPECT_EQ(record.Align(*frames[1]), 5);
        EXPECT_EQ(record.Align(*frames[2]), -12);
        EXPECT_EQ(record.Align(*frames[3]), 0);
        EXPECT_EQ(record.Matching.TotalShift, -7);
        EXPECT_EQ(record.Matching.MinShift, -7);
        EXPECT_EQ(record.Matching.MaxShift, 5);
    }
}

TEST(LineMatching, LeavesFlatFramesWhereTheyAre) {
    const std::vector<std::int32_t> samples(200 * 100, 90);
    const Image flat = test::FromPlanes(200, 100, KyiFormatGray8, samples);
    for (const std::int32_t detectType : {0, 1}) {
        Record record(detectType, *flat, kyf::ProfileSource::Gray, 0);
        EXPECT_EQ(record.Align(*flat), 0);
        EXPECT_EQ(record.Matching.TotalShift, 0);
    }
}

TEST(LineMatching, StopsAtAQuarterOfTheWidthAndForgetsTheRest) {
    const std::int32_t width = 200;
    const std::vector<test::Step> steps{{25, 0}, {25, 0}, {10, 0}, {-10, 0}};
    const std::vector<Image> frames = test::DriftingStack(width, 100, KyiFormatGray8, test::Content::Blobs, steps, 3);
    Record record(1, *frames[0], kyf::ProfileSource::Gray, 0);
    const std::vector<std::int32_t> totals{25, 50, 50, 40};
    for (std::size_t i = 1; i < frames.size(); ++i) {
        EXPECT_EQ(record.Align(*frames[i]), steps[i - 1].X);
        EXPECT_EQ(record.Matching.TotalShift, totals[i - 1]);
    }
    EXPECT_EQ(record.Matching.MaxShift, width / 4);
    EXPECT_EQ(record.Matching.MinShift, 0);
}

TEST(LineMatching, KeepsWhatItHadUntilAFrameIsAccepted) {
    const std::vector<Image> frames =
        test::DriftingStack(200, 100, KyiFormatGray8, test::Content::Blobs, {{9, 0}}, kSeed);
    for (const std::int32_t detectType : {0, 1}) {
        Record record(detectType, *frames[0], kyf::ProfileSource::Gray, 0);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(kyf::MatchLines(record.Matching, *frames[1], 0).TotalShift, 9);
        EXPECT_EQ(record.Matching.TotalShift, 0);
        EXPECT_EQ(record.Matching.MaxShift, 0);
    }
}

TEST(LineMatching, PreparesNothingForAnUnknownTypeAndMovesNothing) {
    const std::vector<Image> frames =
        test::DriftingStack(200, 100, KyiFormatBgr24, test::Content::Blobs, {{9, 0}}, kSeed);
    for (const std::int32_t detectType : {2, -1, 77}) {
        Record record(detectType, *frames[0], kyf::ProfileSource::Gray, 0);
        EXPECT_EQ(record.Matching.Profile, nullptr);
        EXPECT_EQ(record.Matching.LineProfiles, nullptr);
        const Image before(KyiDuplicateImageData(frames[1].get(), 0));
        EXPECT_EQ(record.Align(*frames[1]), 0);
        EXPECT_TRUE(test::SamePixelBytes(*before, *frames[1]));
    }
}

TEST(LineMatching, StartsANewStackAfreshWhateverTheLastOneLeft) {
    const std::vector<Image> frames =
        test::DriftingStack(200, 100, KyiFormatGray8, test::Content::Blobs, {{9, 0}}, kSeed);
    Record record(0, *frames[0], kyf::ProfileSource::Gray, 0);
    record.Align(*frames[1]);
    for (const std::int32_t detectType : {1, 0, 5, 1}) {
        kyf::SetUpLineMatching(record.Matching, detectType, record.State, *frames[0], kyf::ProfileSource::Gray, 0);
        EXPECT_EQ(record.Matching.TotalShift, 0);
        EXPECT_EQ(record.Matching.MaxShift, 0);
        EXPECT_EQ(record.Matching.Profile != nullptr, detectType == 1);
        EXPECT_EQ(record.Matching.LineProfiles != nullptr, detectType == 0);
        EXPECT_EQ(record.Matching.SearchRatio, 0.15);
    }
}

TEST(LineMatching, WrapsTheSquaresOfBrightProfiles) {
    const reference::Profile bright{65535, 65535, 0, 65535};
    EXPECT_LT(kyf::VarianceOf(bright.data(), 4), 0.0);
    EXPECT_EQ(kyf::VarianceOf(bright.data(), 4), 3 * -131071.0 / 4 - (196605.0 / 4) * (196605.0 / 4));
}

TEST(MoveRows, KeepsTheColumnsThatItUncovers) {
    const Image row = test::FromPlanes(5, 1, KyiFormatGray8, std::vector<std::int32_t>{1, 2, 3, 4, 5});
    kyf::MoveRows(*row, 2, 0);
    EXPECT_EQ(test::ToPlanes(*row), (std::vector<std::int32_t>{1, 2, 1, 2, 3}));
    kyf::MoveRows(*row, -1, 0);
    EXPECT_EQ(test::ToPlanes(*row), (std::vector<std::int32_t>{2, 1, 2, 3, 3}));
    for (const std::int32_t shift : {0, 5, -5, 9, -9}) kyf::MoveRows(*row, shift, 1);
    EXPECT_EQ(test::ToPlanes(*row), (std::vector<std::int32_t>{2, 1, 2, 3, 3}));
}

} // namespace
