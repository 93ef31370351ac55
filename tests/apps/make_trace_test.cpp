#include "make_trace.h"

#include <fstream>
#include <new>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>

#include "errors.h"
#include "support/case_files.h"

namespace {

constexpr const wchar_t* kHeights = L"Kyf3DSafeMakeHeightData";

TEST(MakeTrace, NeedsItsFolder) {
    const test::TemporaryFolder folder;
    EXPECT_THROW(app::MakeTrace(folder.Path() / "gone"), app::Failure);
    EXPECT_EQ(KyiIsPuttingTraceLog(), 0);
}

TEST(MakeTrace, TakesHeightsForMadeOnlyWhenItTellsSo) {
    const test::TemporaryFolder folder;
    const app::MakeTrace trace(folder.Path());
    EXPECT_THROW(trace.RequireHeights(), app::Failure);
    KyiPutBeginMethodLog("make.cpp", 1, kHeights, 0);
    EXPECT_THROW(trace.RequireHeights(), app::Failure);
    KyiPutEndMethodLog("make.cpp", 2, kHeights, nullptr);
    EXPECT_NO_THROW(trace.RequireHeights());
    EXPECT_EQ(trace.LostFrame(), std::nullopt);
}

TEST(MakeTrace, TellsHeightsThatAreNotMade) {
    const test::TemporaryFolder folder;
    const app::MakeTrace trace(folder.Path());
    KyiPutEndMethodLog("make.cpp", 2, kHeights, L"KyfResultFailAlloc");
    EXPECT_THROW(trace.RequireHeights(), std::bad_alloc);
    KyiPutEndMethodLog("make.cpp", 2, kHeights, L"KyfResultInvalidParameter");
    EXPECT_THROW(trace.RequireHeights(), app::Failure);
}

// A disk that is full from some line on.
TEST(MakeTrace, IsNotCompleteWithoutItsEnd) {
    const test::TemporaryFolder folder;
    const app::MakeTrace trace(folder.Path());
    KyiPutEndMethodLog("make.cpp", 2, kHeights, nullptr);
    std::filesystem::resize_file(folder.Path() / "trace/kyimaging.log",
                                 std::filesystem::file_size(folder.Path() / "trace/kyimaging.log") - 2);
    EXPECT_THROW(trace.RequireHeights(), app::Failure);
}

TEST(MakeTrace, TellsTheFirstFrameThatIsLost) {
    const test::TemporaryFolder folder;
    const app::MakeTrace trace(folder.Path());
    KyiPutTraceLog("load.cpp", 1, L"/elsewhere/image.bmp: not a frame", 0);
    KyiPutTraceLog("load.cpp", 1, L"/temp/MFocusTemp3.bmp: cut short", 0);
    KyiPutTraceLog("load.cpp", 1, L"/temp/MFocusTemp4.bmp: not there", 0);
    EXPECT_EQ(trace.LostFrame(), "cut short");
}

} // namespace
