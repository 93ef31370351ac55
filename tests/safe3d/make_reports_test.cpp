// What a make tells while it runs: lines of the trace, nodes of the progress, the switches of the back ends.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gpu/gpu_switches.h"
#include "safe3d/compose_by_height.h"
#include "safe3d/maps.h"
#include "safe3d/progress_reports.h"
#include "safe3d/safe3d.h"
#include "safe3d/stack_session.h"
#include "support/threads.h"
#include "support/trace_lines.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kWidth = 40;
constexpr std::int32_t kHeight = 30;
constexpr std::int32_t kFrames = 5;

class MakeReports : public testing::Test {
  protected:
    test::Session Stack() const {
        test::StackSettings settings;
        settings.ProjectionNoiseRemove = 3;
        test::Session session = test::StartStack(settings, m_folder.Path());
        EXPECT_TRUE(test::AddRelief(*session, kWidth, kHeight, KyiFormatBgr24, kFrames, 1));
        return session;
    }
    fs::path Bitmap(int frame) const { return m_folder.Path() / ("MFocusTemp" + std::to_string(frame) + ".bmp"); }
    void Lose(int frame) const { fs::remove(Bitmap(frame)); }

    test::TemporaryFolder m_folder;
};

/// Lines of the height data itself: what codecs, files and images trace is theirs.
std::vector<std::string> LinesOfHeightData(const test::TraceLines& trace) {
    std::vector<std::string> lines;
    for (const std::string& line : trace.GetWithoutBackEnds())
        if (line.find("Kyf3DSafeMakeHeightData") != std::string::npos || line.find("pFocusInfo") != std::string::npos)
            lines.push_back(line);
    return lines;
}

const std::string kHasHeights = "pFocusInfo->HeightList != nullptr && pFocusInfo->HeightDataMap == nullptr";

TEST_F(MakeReports, TraceTheHeightsAndTheNumberOfMedians) {
    const test::Session session = Stack();
    const test::TraceLines trace;
    ASSERT_EQ(kyf::Kyf3DSafeMakeHeightData(session.get(), 0, nullptr), KyfResultOk);
    EXPECT_EQ(LinesOfHeightData(trace),
              (std::vector<std::string>{"Begin Kyf3DSafeMakeHeightData", kHasHeights,
                                        "pFocusInfo->ProjectionNoiseRemove=3", "End Kyf3DSafeMakeHeightData"}));
}

TEST_F(MakeReports, TraceNothingBetweenTheEndsWhereThereIsNothingToMake) {
    KyfFocusComposition empty{};
    const test::TraceLines trace;
    ASSERT_EQ(kyf::Kyf3DSafeMakeHeightData(&empty, 0, nullptr), KyfResultOk);
    EXPECT_EQ(trace.GetWithoutBackEnds(),
              (std::vector<std::string>{"Begin Kyf3DSafeMakeHeightData", "End Kyf3DSafeMakeHeightData"}));
}

TEST_F(MakeReports, TraceTheResultOfAStackWithoutASize) {
    KyfFocusComposition empty{};
    double height = 1.0;
    empty.HeightList = &height;
    const test::TraceLines trace;
    ASSERT_EQ(kyf::Kyf3DSafeMakeHeightData(&empty, 0, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(trace.GetWithoutBackEnds(),
              (std::vector<std::string>{"Begin Kyf3DSafeMakeHeightData", kHasHeights,
                                        "End Kyf3DSafeMakeHeightData: KyfResultInvalidParameter"}));
}

TEST_F(MakeReports, TraceTheResultOfAMapThatCannotBeHad) {
    const test::Session session = Stack();
    session->State3D.SourceWidth = 1 << 30; // more than there are addresses
    session->State3D.SourceHeight = 1 << 20;
    const test::TraceLines trace;
    ASSERT_EQ(kyf::Kyf3DSafeMakeHeightData(session.get(), 0, nullptr), KyfResultFailAlloc);
    EXPECT_EQ(trace.GetWithoutBackEnds(),
              (std::vector<std::string>{"Begin Kyf3DSafeMakeHeightData", kHasHeights,
                                        "End Kyf3DSafeMakeHeightData: KyfResultFailAlloc"}));
    EXPECT_EQ(session->State3D.HeightDataMap, nullptr);
}

// The result is that of a whole composite: hosts look for the bitmap's name.
TEST_F(MakeReports, TraceTheKeptFrameThatIsNoLongerOneOfTheStack) {
    struct Form {
        std::int32_t Width;
        std::int32_t Height;
        std::int32_t Format;
    };
    const Form forms[] = {{kWidth + 1, kHeight, KyiFormatBgr24},
                          {kWidth, kHeight - 1, KyiFormatBgr24},
                          {kWidth, kHeight, KyiFormatGray8},
                          {kWidth, kHeight, KyiFormatBgr48}};
    for (const Form& form : forms) {
        const test::Image other = test::TexturedImage(form.Width, form.Height, form.Format, 5);
        for (const int lost : {0, 1, 3, kFrames - 1}) {
            for (const int threads : {0, 2}) {
                SCOPED_TRACE(testing::Message() << form.Width << " x " << form.Height << ", format " << form.Format
                                                << ", frame " << lost << ", threads " << threads);
                const test::ThreadScope scope(threads);
                const test::Session session = Stack();
                ASSERT_TRUE(KyiSaveImageData(Bitmap(lost).wstring().c_str(), other.get(), 0));
                const test::TraceLines trace;
                ASSERT_EQ(KyfFocusMakeCompImage(session.get(), threads != 0, nullptr), KyfResultOk);
                EXPECT_EQ(test::CountLines(trace.Get(), Bitmap(lost).string() + ": an image of another size or kind"),
                          1);
            }
        }
    }
}

TEST_F(MakeReports, TraceNoFrameThatFits) {
    const test::Session session = Stack();
    const test::TraceLines trace;
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    for (const std::string& line : trace.Get()) EXPECT_EQ(line.find("MFocusTemp"), std::string::npos) << line;
}

TEST_F(MakeReports, WriteTheSwitchesOfTheBackEndsFirst) {
    KyfFocusComposition empty{};
    for (const std::int32_t disable : {1, 0, 7}) {
        empty.DisableGPU = disable;
        ASSERT_EQ(kyf::Kyf3DSafeMakeHeightData(&empty, 0, nullptr), KyfResultOk);
        EXPECT_EQ(kyf::g_isDisableGpuCuda != 0, disable != 0);
        EXPECT_EQ(kyf::g_isDisableGpuOpenCl != 0, disable != 0);
    }
}

TEST_F(MakeReports, CompleteTheNodeOfTheHeightsWhetherThereAreAnyOrNot) {
    const test::Session session = Stack();
    for (const char* const run : {"made", "there already"}) {
        const test::ProgressReports progress;
        ASSERT_EQ(kyf::Kyf3DSafeMakeHeightData(session.get(), 0, progress.Root()), KyfResultOk);
        EXPECT_NE(progress.Root()->Completed, 0) << run;
        ASSERT_FALSE(progress.Lines().empty()) << run;
        EXPECT_EQ(progress.Lines().back(), " 100") << run;
    }
}

TEST_F(MakeReports, CompleteTheNodesOfTheDriver) {
    const test::Session session = Stack();
    const test::ProgressReports progress;
    ASSERT_EQ(kyf::Kyf3DSafeMakeCompImage(session.get(), {0, 0, kWidth, kHeight}, 0, progress.Root()), KyfResultOk);
    EXPECT_NE(progress.Root()->Completed, 0);
    EXPECT_NE(progress.Root()->SubList[0]->Completed, 0);
    EXPECT_NE(progress.Root()->SubList[1]->Completed, 0);
}

TEST_F(MakeReports, LeaveTheSecondNodeOpenWhenThereIsNothingToCut) {
    const test::Session session = Stack();
    const test::ProgressReports progress;
    EXPECT_EQ(kyf::Kyf3DSafeMakeCompImage(session.get(), {5, 6, 5, 20}, 0, progress.Root()), KyfResultFailAlloc);
    EXPECT_NE(progress.Root()->SubList[0]->Completed, 0);
    EXPECT_EQ(progress.Root()->SubList[1]->Completed, 0);
    EXPECT_EQ(progress.Root()->Completed, 0);
}

TEST_F(MakeReports, CompleteTheSecondNodeWhenTheHeightsCannotBeSmoothed) {
    const test::Session session = test::StartStack({}, m_folder.Path());
    for (int i = 0; i < kFrames; ++i) { // without heights
        const test::Image frame = test::ReliefFrame(kWidth, kHeight, KyiFormatGray8, i, kFrames, 1);
        ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), 0, nullptr), KyfResultOk);
    }
    const test::ProgressReports progress;
    EXPECT_EQ(kyf::Kyf3DSafeMakeCompImage(session.get(), {0, 0, kWidth, kHeight}, 0, progress.Root()),
              KyfResultFailAlloc);
    EXPECT_NE(progress.Root()->SubList[1]->Completed, 0);
    EXPECT_NE(progress.Root()->Completed, 0);
}

TEST_F(MakeReports, CompleteTheNodeOfACompositeThatWasBrokenOff) {
    const test::Session session = Stack();
    Lose(3);
    const test::MapShape shape{kWidth, kHeight};
    const test::Uint16Image map = test::NewUint16(shape, std::vector<std::int32_t>(test::CountOf(shape), 0));
    const test::ProgressReports progress;
    EXPECT_EQ(kyf::ComposeByHeight(*session, *map, 0, progress.Root()), KyfResultInvalidParameter);
    EXPECT_NE(progress.Root()->Completed, 0);
    EXPECT_EQ(progress.Lines(), (std::vector<std::string>{" 26", " 51", " 100"}));
}

} // namespace
