// One frame into the 3D pipeline: what the session keeps, what lies in the temporary folder, what fails how.
#include <csignal>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "filters/filters.h"
#include "safe3d/progress_reports.h"
#include "safe3d/safe3d.h"
#include "safe3d/stack_session.h"
#include "safe3d/threads.h"
#include "support/trace_lines.h"

namespace {

namespace fs = std::filesystem;

class AddFrame : public testing::Test {
  protected:
    fs::path Folder() const { return m_folder.Path() / "frames"; }
    fs::path Bitmap(int frame) const { return Folder() / ("MFocusTemp" + std::to_string(frame) + ".bmp"); }
    test::Session Start(std::int32_t scopeType = 0, std::int32_t speed = 2) const {
        test::StackSettings settings;
        settings.ScopeType = scopeType;
        settings.Speed = speed;
        return test::StartStack(settings, Folder());
    }
    static test::Image Frame(std::uint32_t seed, std::int32_t format = KyiFormatBgr24) {
        return test::TexturedImage(48, 36, format, seed);
    }
    static KyfResult Add(KyfFocusComposition& session, KyiImageData& frame, KyiBool* owned = nullptr) {
        KyiBool taken = 7;
        const KyfResult result = kyf::Kyf3DSafeAddImage(&session, &frame, owned ? *owned : 0, taken, 0, nullptr);
        if (owned) *owned = taken;
        return result;
    }

    test::TemporaryFolder m_folder;
};

TEST_F(AddFrame, WritesABitmapThatReadsBackAndOnlyTheOwnerMayOpen) {
    for (const std::int32_t format : test::AllFormats()) {
        const test::Session session = Start();
        const test::Image frame = Frame(1, format);
        ASSERT_EQ(Add(*session, *frame), KyfResultOk) << format;
        KyiImageData* loaded = nullptr;
        ASSERT_TRUE(KyiLoadBitmap32(Bitmap(0).wstring().c_str(), &loaded));
        const test::Image saved(loaded);
        EXPECT_TRUE(test::SameImage(*frame, *saved)) << format;
        struct stat status {};
        ASSERT_EQ(stat(Bitmap(0).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0600U);
        EXPECT_EQ(session->TempFileMap[0], Bitmap(0).wstring());
        EXPECT_EQ(session->TempFileMap[1], nullptr);
    }
}

TEST_F(AddFrame, MakesTheFolderWithItsParentsForTheOwnerAlone) {
    const test::Session session = test::StartStack({}, m_folder.Path() / "a" / "b" / "c");
    ASSERT_EQ(Add(*session, *Frame(1)), KyfResultOk);
    EXPECT_TRUE(fs::exists(m_folder.Path() / "a" / "b" / "c" / "MFocusTemp0.bmp"));
    EXPECT_EQ(fs::status(m_folder.Path() / "a").permissions(), fs::perms::owner_all);
}

TEST_F(AddFrame, RefusesAGridThatNoMachineHolds) {
    const int mostSpeeds[][2] = {{0, 512}, {1, 2048}};
    for (const auto& [speed, mostRatio] : mostSpeeds) {
        const test::Session session = Start(0, speed);
        const test::Image tall = test::TexturedImage(1, mostRatio + 1, KyiFormatGray8, 1);
        EXPECT_EQ(Add(*session, *tall), KyfResultFailAlloc) << speed;
        EXPECT_EQ(session->State3D.FrameCount, 0) << speed;
    }
    const test::Session session = Start(0, 2);
    EXPECT_EQ(Add(*session, *test::TexturedImage(1, 2100, KyiFormatGray8, 1)), KyfResultOk);
}

TEST_F(AddFrame, ReplacesALinkAndLeavesItsTargetAlone) {
    fs::create_directories(Folder());
    const fs::path target = m_folder.Path() / "precious";
    std::ofstream(target) << "text";
    fs::create_symlink(target, Bitmap(0));
    const test::Session session = Start();
    ASSERT_EQ(Add(*session, *Frame(1)), KyfResultOk);
    EXPECT_FALSE(fs::is_symlink(Bitmap(0)));
    EXPECT_EQ(fs::file_size(target), 4U);
}

TEST_F(AddFrame, ReplacesAnOldBitmapThatOthersCouldRead) {
    fs::create_directories(Folder());
    std::ofstream(Bitmap(0)) << "old";
    fs::permissions(Bitmap(0), fs::perms::all);
    const test::Session session = Start();
    ASSERT_EQ(Add(*session, *Frame(1)), KyfResultOk);
    EXPECT_EQ(fs::status(Bitmap(0)).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(AddFrame, FailsWithoutAFolderAndLeavesTheCountAlone) {
    std::ofstream(m_folder.Path() / "plain") << 'x';
    fs::create_directories(Folder() / "MFocusTemp0.bmp"); // a folder where the bitmap should be
    for (const fs::path& folder :
         {m_folder.Path() / "plain" / "below", m_folder.Path() / "plain", fs::path(), Folder()}) {
        const test::Session session = test::StartStack({}, folder);
        EXPECT_EQ(Add(*session, *Frame(1)), KyfResultFailFile) << folder;
        EXPECT_EQ(session->State3D.FrameCount, 0);
        EXPECT_EQ(session->TempFileMap, nullptr);
    }
    fs::remove(Folder() / "MFocusTemp0.bmp");
    const test::Session session = Start();
    EXPECT_EQ(Add(*session, *Frame(1)), KyfResultOk);
}

TEST_F(AddFrame, FailsAfterATerminateThatTookTheFolderAway) {
    const test::Session session = Start();
    KyfFocusTerminate(session.get());
    session->Mode = KyfMode3DSafe;
    EXPECT_EQ(Add(*session, *Frame(1)), KyfResultFailFile);
}

/// Files cannot grow beyond a size for the time of a scope, as on a full disk.
class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) : m_signal(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_signal);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    void (*m_signal)(int);
    rlimit m_before{};
};

TEST_F(AddFrame, FailsOnAFullDiskAndGoesOnWhenThereIsRoomAgain) {
    const test::Session session = Start();
    ASSERT_EQ(Add(*session, *Frame(1)), KyfResultOk);
    {
        const FullDisk full(2000);
        EXPECT_EQ(Add(*session, *Frame(2)), KyfResultFailFile);
    }
    EXPECT_EQ(session->State3D.FrameCount, 1);
    EXPECT_FALSE(fs::exists(Bitmap(1))) << "half a bitmap";
    EXPECT_EQ(std::distance(fs::directory_iterator(Folder()), fs::directory_iterator()), 1);
    EXPECT_EQ(Add(*session, *Frame(2)), KyfResultOk);
    EXPECT_EQ(session->State3D.FrameCount, 2);
}

TEST_F(AddFrame, KeepsTheFirstFrameThatIsOfferedAndCopiesOneThatIsNot) {
    const test::Session session = Start();
    test::Image offered = Frame(1);
    KyiBool owned = 1;
    ASSERT_EQ(Add(*session, *offered, &owned), KyfResultOk);
    EXPECT_EQ(owned, 1);
    EXPECT_EQ(session->State3D.CompImage, offered.get());
    (void)offered.release();
    const test::Image second = Frame(2);
    owned = 1;
    ASSERT_EQ(Add(*session, *second, &owned), KyfResultOk);
    EXPECT_EQ(owned, 0);

    const test::Session other = Start();
    owned = 0;
    ASSERT_EQ(Add(*other, *second, &owned), KyfResultOk);
    EXPECT_EQ(owned, 0);
    EXPECT_NE(other->State3D.CompImage, second.get());
    EXPECT_TRUE(test::SameImage(*second, *other->State3D.CompImage));
}

TEST_F(AddFrame, HasTakenTheFirstFrameEvenIfItsBitmapFails) {
    const test::Session session = test::StartStack({}, fs::path());
    test::Image offered = Frame(1);
    KyiBool owned = 1;
    EXPECT_EQ(Add(*session, *offered, &owned), KyfResultFailFile);
    EXPECT_EQ(owned, 1);
    (void)offered.release();
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultFailAlloc);
}

TEST_F(AddFrame, RefusesAFrameThatDoesNotFitAndChangesNothing) {
    const test::Session session = Start();
    ASSERT_EQ(Add(*session, *Frame(1)), KyfResultOk);
    const auto before = fs::last_write_time(Bitmap(0));
    for (const test::Image& other :
         {test::TexturedImage(47, 36, KyiFormatBgr24, 2), test::TexturedImage(48, 35, KyiFormatBgr24, 2),
          test::TexturedImage(48, 36, KyiFormatGray8, 2)}) {
        KyiBool owned = 1;
        EXPECT_EQ(Add(*session, *other, &owned), KyfResultInvalidParameter);
        EXPECT_EQ(owned, 0);
    }
    EXPECT_EQ(session->State3D.FrameCount, 1);
    EXPECT_FALSE(fs::exists(Bitmap(1)));
    EXPECT_EQ(fs::last_write_time(Bitmap(0)), before);
}

TEST_F(AddFrame, HasTheSizesOfTheSpeed) {
    const std::vector<std::int32_t> widths{512, 256, 64};
    for (std::int32_t speed = 0; speed < 3; ++speed) {
        const test::Session session = Start(0, speed);
        ASSERT_EQ(Add(*session, *test::TexturedImage(1000, 500, KyiFormatGray8, 1)), KyfResultOk);
        EXPECT_EQ(session->State3D.WorkWidth, 512);
        EXPECT_EQ(session->State3D.WorkHeight, 256);
        EXPECT_EQ(session->EdgeDataWidth, widths[static_cast<std::size_t>(speed)]);
        EXPECT_EQ(session->EdgeDataHeight, session->EdgeDataWidth / 2);
        EXPECT_EQ(session->EdgeFrames[0]->Height, session->EdgeDataHeight);
    }
    const test::Session narrow = Start(0, 0);
    ASSERT_EQ(Add(*narrow, *test::TexturedImage(300, 20, KyiFormatGray8, 1)), KyfResultOk);
    EXPECT_EQ(narrow->State3D.WorkWidth, 300);
    EXPECT_EQ(narrow->EdgeDataWidth, 512);
    EXPECT_EQ(narrow->EdgeDataHeight, 34);
}

TEST_F(AddFrame, FailsForFramesSoFlatThatNoGridRemains) {
    for (const auto& [width, height] : {std::pair{2000, 3}, std::pair{600, 8}}) {
        const test::Session session = Start();
        EXPECT_EQ(Add(*session, *test::TexturedImage(width, height, KyiFormatGray8, 1)), KyfResultFailAlloc);
        EXPECT_EQ(session->State3D.FrameCount, 0);
        EXPECT_EQ(Add(*session, *Frame(1)), KyfResultOk) << "the session takes another first frame";
    }
}

TEST_F(AddFrame, SetsTheFiltersAtTheFirstFrame) {
    const test::Session session = Start();
    ASSERT_EQ(Add(*session, *Frame(1)), KyfResultOk);
    EXPECT_EQ(session->BlurFilterSize, 3);
    EXPECT_EQ(std::vector<double>(session->BlurFilterX, session->BlurFilterX + 4), (std::vector{0.25, 0.5, 0.25, 0.0}));
    EXPECT_EQ(std::vector<double>(session->BlurFilterY, session->BlurFilterY + 4), (std::vector{0.25, 0.5, 0.25, 0.0}));
    EXPECT_EQ(session->SobelFilterSize, 3);
    for (const double* const smooth : {session->SobelFilterA, session->SobelFilterD})
        EXPECT_EQ(std::vector<double>(smooth, smooth + 4), (std::vector{-1.0, -2.0, -1.0, 0.0}));
    for (const double* const slope : {session->SobelFilterB, session->SobelFilterC})
        EXPECT_EQ(std::vector<double>(slope, slope + 4), (std::vector{1.0, 0.0, -1.0, 0.0}));
}

TEST_F(AddFrame, GrowsItsTablesBy256AndKeepsTheEntries) {
    const test::Session session = Start();
    const test::Image frame = test::TexturedImage(16, 4, KyiFormatGray8, 1);
    std::vector<KyfImageData*> edge;
    for (int i = 0; i < 257; ++i) {
        ASSERT_EQ(Add(*session, *frame), KyfResultOk);
        edge.push_back(session->EdgeFrames[i]);
        EXPECT_EQ(session->FrameCapacity, i < 256 ? 256 : 512);
    }
    EXPECT_TRUE(std::equal(edge.begin(), edge.end(), session->EdgeFrames));
    EXPECT_EQ(session->EdgeFrames[511], nullptr);
    EXPECT_EQ(session->KidoFrames[257], nullptr);
    EXPECT_EQ(session->TempFileMap[256], Bitmap(256).wstring());
}

TEST_F(AddFrame, TakesBrightnessForFocusInScopes2And3) {
    const test::Session session = Start(2);
    const test::Image white = test::FromPlanes(48, 36, KyiFormatGray8, std::vector<std::int32_t>(48 * 36, 255));
    ASSERT_EQ(Add(*session, *white), KyfResultOk);
    EXPECT_EQ(session->EdgeFrames[0]->Rows[5][7], 12750.0);
    EXPECT_EQ(session->KidoFrames[0]->Rows[5][7], 255.0);
}

TEST_F(AddFrame, LeavesAFlatFrameWithoutEdges) {
    const test::Session session = Start();
    const test::Image gray = test::FromPlanes(48, 36, KyiFormatGray8, std::vector<std::int32_t>(48 * 36, 90));
    ASSERT_EQ(Add(*session, *gray), KyfResultOk);
    for (std::int32_t y = 0; y < session->EdgeDataHeight; ++y)
        for (std::int32_t x = 0; x < session->EdgeDataWidth; ++x) {
            ASSERT_EQ(session->EdgeFrames[0]->Rows[y][x], 0.0);
            ASSERT_EQ(session->KidoFrames[0]->Rows[y][x], 90.0);
        }
}

TEST_F(AddFrame, IsSweptAwayByTerminate) {
    const test::Session session = Start();
    ASSERT_EQ(Add(*session, *Frame(1)), KyfResultOk);
    ASSERT_EQ(Add(*session, *Frame(2)), KyfResultOk);
    KyfFocusTerminate(session.get());
    EXPECT_TRUE(fs::is_empty(Folder()));
    EXPECT_EQ(session->EdgeFrames, nullptr);
}

// ---- progress and trace
TEST_F(AddFrame, ReportsFourStepsWithTheBlurBelowTheThird) {
    const test::Session session = Start();
    for (const bool isFirst : {true, false}) {
        const test::ProgressReports progress;
        KyiBool owned = 0;
        const test::Image frame = Frame(1);
        ASSERT_EQ(kyf::Kyf3DSafeAddImage(session.get(), frame.get(), 0, owned, 0, progress.Root()), KyfResultOk);
        std::vector<std::string> expected;
        if (!isFirst) expected = {"/0 51", "/0 101"};
        const std::vector<std::string> rest{" 26",   " 51",    "/2/0 10", "/2/0 20", "/2/0 30", "/2 34",
                                            "/2 68", "/2 101", " 76",     " 101",    " 100"};
        expected.insert(expected.end(), rest.begin(), rest.end());
        EXPECT_EQ(progress.Lines(), expected) << (isFirst ? "first" : "later");
    }
}

TEST_F(AddFrame, TracesItsStagesAndTheChoiceOfThePath) {
    const std::string title =
        "Kyf3DSafeAddImage( KyfFocusComposition*, KyiImageData*, BOOL, BOOL&, BOOL, KyfProgress* )";
    for (const std::int32_t scopeType : {0, 2}) {
        const test::Session session = Start(scopeType);
        session->DisableGPU = 1; // so that the processor is chosen wherever the test runs
        const test::TraceLines lines;
        ASSERT_EQ(Add(*session, *Frame(1)), KyfResultOk);
        std::vector<std::string> expected{
            "Begin " + title,         "IsDisableGPU = true", "isEnableCuda = false",     "OpenCL is not initialized.",
            "isEnableOpenCl = false", "Begin 1st process.",  "Begin processing by CPU.", "Begin 2nd process."};
        const std::vector<std::string> filters{"Blur filter 10 times", "Sobel filter", "Sobel filter Only"};
        if (scopeType == 0)
            expected.insert(expected.end(), filters.begin(), filters.end());
        else
            expected.push_back("Processing added for GPU related purposes");
        expected.push_back("Creating edge strength data");
        expected.push_back("End " + title);
        EXPECT_EQ(lines.GetWithoutBackEnds(), expected);
    }
}

} // namespace
