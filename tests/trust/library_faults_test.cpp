// A 3D session while its files fail, one call after the other. A binary of its own: it stands before the system's
// calls.
#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "trust/faults.h"
#include "trust/session_calls.h"

namespace {

namespace fs = std::filesystem;
using test::faults::Kind;

constexpr int kFrames = 3;

struct Course {
    int Added = 0;
    KyfResult Made = 0;
    int Calls = 0;
};

struct Stack {
    Stack() : Temp(fs::canonical(Folder.Path()) / "temp") {
        KyfFocusInitializeParameter parameter{};
        const std::wstring folder = Temp.wstring();
        parameter.TempFolder = folder.c_str();
        parameter.DisableGPU = 1;
        KyfFocusInitialize(Session.get(), &parameter);
        const auto three = test::Defaults<KyfFocusComposition3DSelectionParameter>(2);
        KyfFocusStart3DSafe(Session.get(), &three);
    }

    KyfResult Add(int frame) const {
        const test::Image image = test::TexturedImage(24, 18, KyiFormatBgr24, static_cast<std::uint32_t>(frame + 1));
        return KyfFocusAddImageWithHeight(Session.get(), image.get(), 1.0 * frame, 0, nullptr);
    }

    /// Frames whose add fails are left out.
    Course Compose(Kind kind, int at) const {
        Course run;
        test::faults::Arm({kind, at, Temp});
        for (int frame = 0; frame < kFrames; ++frame) {
            const KyfResult result = Add(frame);
            EXPECT_TRUE(result == KyfResultOk || result == KyfResultFailFile) << result;
            run.Added += result == KyfResultOk ? 1 : 0;
            EXPECT_EQ(Session->State3D.FrameCount, run.Added);
        }
        run.Made = KyfFocusMakeCompImage(Session.get(), 0, nullptr);
        run.Calls = test::faults::Disarm();
        return run;
    }

    test::TemporaryFolder Folder;
    fs::path Temp;
    test::Session Session{KyfAllocFocusComposition()};
};

class LibraryFaults : public testing::TestWithParam<Kind> {};

TEST_P(LibraryFaults, FailAnAddWithItsResultAndLeaveASessionThatEnds) {
    int calls = 1;
    bool hasFailed = false;
    for (int at = 0; at < calls; ++at) {
        SCOPED_TRACE(at);
        const Stack fresh;
        const Course run = fresh.Compose(GetParam(), at);
        hasFailed = hasFailed || run.Added < kFrames;
        calls = std::max(calls, run.Calls);
        EXPECT_TRUE(run.Made == KyfResultOk || run.Added == 0) << run.Made;
        KyfFocusTerminate(fresh.Session.get());
        EXPECT_TRUE(!fs::exists(fresh.Temp) || fs::is_empty(fresh.Temp));
    }
    EXPECT_TRUE(hasFailed);
    EXPECT_GT(calls, kFrames);
}

TEST(LibraryFiles, ShortAndInterruptedTransfersChangeNothing) {
    for (const Kind kind : {Kind::Short, Kind::Interrupted}) {
        const Stack fresh;
        const Course run = fresh.Compose(kind, 0);
        EXPECT_EQ(run.Added, kFrames);
        EXPECT_EQ(run.Made, KyfResultOk);
    }
}

// The folder is made anew for the next frame. What was in it is lost: the make tells by the image alone.
TEST(LibraryFiles, AFolderThatIsGoneIsMadeAnewAndTheSessionEnds) {
    const Stack stack;
    ASSERT_EQ(stack.Add(0), KyfResultOk);
    fs::remove_all(stack.Temp);
    EXPECT_EQ(stack.Add(1), KyfResultOk);
    EXPECT_TRUE(fs::is_directory(stack.Temp));
    fs::remove_all(stack.Temp);
    EXPECT_EQ(KyfFocusMakeCompImage(stack.Session.get(), 0, nullptr), KyfResultOk);
    KyfFocusTerminate(stack.Session.get());
    EXPECT_FALSE(fs::exists(stack.Temp));
}

INSTANTIATE_TEST_SUITE_P(Kinds, LibraryFaults, testing::Values(Kind::NoSpace, Kind::IoError, Kind::NoPermission));

} // namespace
