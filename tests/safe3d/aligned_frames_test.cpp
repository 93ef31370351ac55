// Frames that are lined up on their way into the 3D pipeline: what the host sees of its frame, what a failure leaves,
// and what the result keeps.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include <gtest/gtest.h>

#include "alignment/drifting_stack.h"
#include "alignment/line_matching.h"
#include "alignment/projection_shift.h"
#include "filters/shapes.h"
#include "safe3d/safe3d.h"
#include "safe3d/stack_session.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kWidth = 160;
constexpr std::int32_t kHeight = 120;
const std::vector<test::Step> kSteps{{5, -3}, {-9, 4}, {2, 1}};

std::vector<test::Image> Stack(std::int32_t format = KyiFormatBgr24) {
    return test::DriftingStack(kWidth, kHeight, format, test::Content::CrossedLines, kSteps, 7);
}

class AlignedFrames : public testing::Test {
  protected:
    test::Session Start(const test::StackSettings& settings) const {
        return test::StartStack(settings, m_folder.Path());
    }
    test::Session StartLines(std::int32_t mode = KyfMode3DSafe) const {
        test::StackSettings settings;
        settings.Mode = mode;
        settings.ScopeType = 1;
        return Start(settings);
    }
    test::Session StartProjection() const {
        test::StackSettings settings;
        settings.AutoPos = 1;
        return Start(settings);
    }
    fs::path Bitmap(int frame) const { return m_folder.Path() / ("MFocusTemp" + std::to_string(frame) + ".bmp"); }
    test::Image Saved(int frame) const {
        KyiImageData* image = nullptr;
        EXPECT_TRUE(KyiLoadImageData(Bitmap(frame).wstring().c_str(), &image));
        return test::Image(image);
    }
    static KyfResult Add(KyfFocusComposition& session, KyiImageData& frame) {
        return KyfFocusAddImageWithHeight(&session, &frame, 1.0 * session.State3D.FrameCount, 0, nullptr);
    }

    test::TemporaryFolder m_folder;
};

TEST_F(AlignedFrames, AreTheHostsOwnInLineMatching) {
    const test::Session session = StartLines();
    const std::vector<test::Image> frames = Stack();
    std::int32_t total = 0;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const test::Image expected(KyiDuplicateImageData(frames[i].get(), 0));
        ASSERT_EQ(Add(*session, *frames[i]), KyfResultOk);
        total += i == 0 ? 0 : kSteps[i - 1].X;
        EXPECT_EQ(session->Matching3D.TotalShift, total);
        kyf::MoveRows(*expected, total, 0);
        EXPECT_TRUE(test::SamePixelBytes(*expected, *frames[i]));
        EXPECT_TRUE(test::SameImage(*expected, *Saved(static_cast<int>(i))));
    }
    EXPECT_EQ(session->Matching3D.MaxShift, 5);
    EXPECT_EQ(session->Matching3D.MinShift, -4);
}

TEST_F(AlignedFrames, AreCopiesInProjectionShift) {
    const test::Session session = StartProjection();
    const std::vector<test::Image> frames = Stack();
    test::Step total{0, 0};
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const test::Image before(KyiDuplicateImageData(frames[i].get(), 0));
        ASSERT_EQ(Add(*session, *frames[i]), KyfResultOk);
        EXPECT_TRUE(test::SamePixelBytes(*before, *frames[i]));
        if (i > 0) total = {total.X + kSteps[i - 1].X, total.Y + kSteps[i - 1].Y};
        EXPECT_EQ(session->ProjectionShift->TotalX, total.X);
        EXPECT_EQ(session->ProjectionShift->TotalY, total.Y);
        const test::Image moved(KyiDuplicateImageData(before.get(), 0));
        kyf::MoveFrame(*before, *moved, -total.X, -total.Y, 0);
        EXPECT_TRUE(test::SameImage(*moved, *Saved(static_cast<int>(i))));
        EXPECT_TRUE(test::SameImage(*before, *session->ProjectionShift->PreviousFrame));
    }
}

TEST_F(AlignedFrames, ComeBackUnmovedFromAFailureAndCanBeGivenAgain) {
    for (const bool isLines : {true, false}) {
        const test::Session session = isLines ? StartLines() : StartProjection();
        std::vector<test::Image> frames = Stack();
        ASSERT_EQ(Add(*session, *frames[0]), KyfResultOk);
        std::vector<std::int32_t> totals;
        for (std::size_t i = 1; i < frames.size(); ++i) {
            const test::Image before(KyiDuplicateImageData(frames[i].get(), 0));
            fs::create_directory(Bitmap(static_cast<int>(i)));
            EXPECT_EQ(Add(*session, *frames[i]), KyfResultFailFile);
            EXPECT_TRUE(test::SamePixelBytes(*before, *frames[i]));
            fs::remove(Bitmap(static_cast<int>(i)));
            ASSERT_EQ(Add(*session, *frames[i]), KyfResultOk);
            totals.push_back(isLines ? session->Matching3D.TotalShift : session->ProjectionShift->TotalX);
        }
        EXPECT_EQ(totals, (std::vector<std::int32_t>{5, -4, -2}));
    }
}

TEST_F(AlignedFrames, HaveARecordForEachSideInComplexProcessing) {
    const test::Session session = StartLines(KyfModeComplexProcessing);
    const std::vector<test::Image> frames = Stack();
    for (const test::Image& frame : frames) ASSERT_EQ(Add(*session, *frame), KyfResultOk);
    for (const KyfLineMatching* const matching : {&session->Matching2D, &session->Matching3D}) {
        EXPECT_EQ(matching->TotalShift, -2);
        EXPECT_EQ(matching->MaxShift, 5);
        EXPECT_EQ(matching->MinShift, -4);
    }
    EXPECT_NE(session->Matching2D.LineProfiles, session->Matching3D.LineProfiles);
}

// The 3D side's profiles are gray from the start; the 2D side's first one is of channel 0.
TEST_F(AlignedFrames, BeginWithTheirOwnKindOfProfileOnEitherSide) {
    const test::Session session = StartLines(KyfModeComplexProcessing);
    std::vector<std::int32_t> planes(3 * 40 * 30);
    std::fill_n(planes.begin(), 40 * 30, 200); // red alone
    const test::Image red = test::FromPlanes(40, 30, KyiFormatBgr24, planes);
    ASSERT_EQ(Add(*session, *red), KyfResultOk);
    EXPECT_EQ(session->Matching2D.LineProfiles[2][17], 200);
    EXPECT_EQ(session->Matching3D.LineProfiles[2][17], (299 * 200 + 500) / 1000);
    ASSERT_EQ(Add(*session, *red), KyfResultOk);
    EXPECT_EQ(session->Matching2D.LineProfiles[2][17], (299 * 200 + 500) / 1000);
}

TEST_F(AlignedFrames, GiveTheSingleBandARecordOfItsOwn) {
    const test::Session session = StartLines();
    session->MatchingDetectType = 1;
    for (const test::Image& frame : Stack(KyiFormatGray16)) ASSERT_EQ(Add(*session, *frame), KyfResultOk);
    EXPECT_EQ(session->Matching3D.TotalShift, -2);
    EXPECT_NE(session->Matching3D.Profile, nullptr);
    EXPECT_EQ(session->Matching3D.LineProfiles, nullptr);
    KyfFocusTerminate(session.get());
    EXPECT_EQ(session->Matching3D.Profile, nullptr);
}

TEST_F(AlignedFrames, EndWithTheirSessionAndBeginAfreshWithTheNext) {
    const test::Session session = StartProjection();
    const std::vector<test::Image> frames = Stack();
    for (const test::Image& frame : frames) ASSERT_EQ(Add(*session, *frame), KyfResultOk);
    KyfFocusTerminate(session.get());
    EXPECT_EQ(session->ProjectionShift, nullptr);
    const std::wstring folder = m_folder.Path().wstring();
    KyfFocusInitializeParameter initial{};
    initial.TempFolder = folder.c_str();
    ASSERT_EQ(KyfFocusInitialize(session.get(), &initial), KyfResultOk);
    KyfFocusComposition3DSelectionParameter parameter{};
    parameter.AutoPos = 1;
    ASSERT_EQ(KyfFocusStart3DSafe(session.get(), &parameter), KyfResultOk);
    ASSERT_EQ(Add(*session, *frames[0]), KyfResultOk);
    EXPECT_EQ(session->ProjectionShift->TotalX, 0);
    EXPECT_EQ(session->ProjectionShift->MaxPositiveX, 0);
}

TEST_F(AlignedFrames, ReplaceTheRecordOfAFirstFrameThatFailed) {
    const test::Session session = StartProjection();
    fs::create_directory(Bitmap(0));
    const test::Image small = test::TexturedImage(30, 20, KyiFormatGray8, 1);
    EXPECT_EQ(Add(*session, *small), KyfResultFailFile);
    fs::remove(Bitmap(0));
    for (const test::Image& frame : Stack()) ASSERT_EQ(Add(*session, *frame), KyfResultOk);
    EXPECT_EQ(session->ProjectionShift->TotalX, -2);
}

TEST_F(AlignedFrames, StayWhereTheyAreWhenTheirMethodIsChosenAfterTheFirst) {
    const test::Session session = Start({});
    const std::vector<test::Image> frames = Stack();
    ASSERT_EQ(Add(*session, *frames[0]), KyfResultOk);
    session->AutoPos = 1;
    ASSERT_EQ(Add(*session, *frames[1]), KyfResultOk);
    EXPECT_TRUE(test::SameImage(*frames[1], *Saved(1)));
    session->ScopeType = 1;
    ASSERT_EQ(Add(*session, *frames[2]), KyfResultOk);
    EXPECT_TRUE(test::SameImage(*frames[2], *Saved(2)));
}

// The guard band of projection shift is 32 pixels on every side.
TEST_F(AlignedFrames, FailAMakeThatWouldKeepNothing) {
    for (const std::int32_t mode : {KyfMode3DSafe, KyfModeComplexProcessing})
        for (const auto& [width, height] : {std::array{64, 100}, std::array{100, 64}, std::array{20, 20}}) {
            test::StackSettings settings;
            settings.Mode = mode;
            settings.AutoPos = 1;
            settings.TrimInvalidBorder = 1;
            const test::Session session = Start(settings);
            const KyPoint places[] = {{50, 25}, {75, 50}, {50, 75}, {25, 50}};
            std::copy(std::begin(places), std::end(places), session->AreaPos);
            const test::Image frame = test::TexturedImage(width, height, KyiFormatGray8, 1);
            for (int i = 0; i < 3; ++i) ASSERT_EQ(Add(*session, *frame), KyfResultOk);
            if (mode == KyfModeComplexProcessing) {
                EXPECT_GT(session->CommonRect.Right, session->CommonRect.Left) << "2D selection has something left";
                EXPECT_GT(session->CommonRect.Bottom, session->CommonRect.Top);
            }
            EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultFailAlloc);
            KyfFocusTerminate(session.get());
            EXPECT_EQ(session->State3D.CompImage, nullptr);
        }
}

TEST_F(AlignedFrames, MayBeOfAFewPixels) {
    for (const std::int32_t format : test::AllFormats())
        for (const auto& [width, height] : {std::array{1, 1}, std::array{1, 7}, std::array{7, 1}, std::array{2, 2},
                                            std::array{9, 8}, std::array{21, 11}})
            for (const bool isLines : {true, false}) {
                const test::Session session = isLines ? StartLines() : StartProjection();
                for (const std::uint32_t seed : {1u, 2u, 3u})
                    EXPECT_NE(Add(*session, *test::RandomImage(width, height, format, seed)),
                              KyfResultInvalidParameter);
            }
}

std::vector<std::int32_t> g_percents;

void WritePercent(KyfProgress* node) { g_percents.push_back(node->Percent); }

TEST_F(AlignedFrames, ReportMostOfTheSetUpAfterProjectionShift) {
    const test::Session session = StartProjection();
    const std::vector<test::Image> frames = Stack();
    ASSERT_EQ(Add(*session, *frames[0]), KyfResultOk);
    KyfProgress* const root = KyfAllocProgress(WritePercent, nullptr);
    g_percents.clear();
    ASSERT_EQ(KyfFocusAddImage(session.get(), frames[1].get(), 0, root), KyfResultOk);
    KyfFreeProgress(root);
    ASSERT_GT(g_percents.size(), 2u);
    EXPECT_EQ(g_percents[0], 80); // of the add's first step
    EXPECT_EQ(g_percents[1], 100);
}

TEST_F(AlignedFrames, ReportEqualPartsOfTheSetUpWithLineMatching) {
    const test::Session session = StartLines();
    const std::vector<test::Image> frames = Stack();
    ASSERT_EQ(Add(*session, *frames[0]), KyfResultOk);
    KyfProgress* const root = KyfAllocProgress(WritePercent, nullptr);
    g_percents.clear();
    ASSERT_EQ(KyfFocusAddImage(session.get(), frames[1].get(), 0, root), KyfResultOk);
    EXPECT_EQ(root->Percent, 100);
    EXPECT_NE(root->Completed, 0);
    KyfFreeProgress(root);
    ASSERT_GT(g_percents.size(), 2u);
    EXPECT_EQ(g_percents[0], 51); // of the add's first step, before the rows are moved; equal parts add up to 101
    EXPECT_EQ(g_percents[1], 101);
}

} // namespace
