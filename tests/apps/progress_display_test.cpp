#include "progress_display.h"

#include <gtest/gtest.h>

namespace {

app::ProgressState State(int frames, int added, int percent, double seconds) {
    app::ProgressState state;
    state.FrameCount = frames;
    state.FramesAdded = added;
    state.StepPercent = percent;
    state.Seconds = seconds;
    return state;
}

/// What a display writes to a stream that is no terminal.
template <typename Steps> std::string Shown(app::ProgressStyle style, int frames, const Steps& steps) {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* const stream = open_memstream(&text, &size);
    {
        app::ProgressDisplay display(style, frames, stream);
        steps(display);
    }
    std::fclose(stream);
    const std::string shown(text, size);
    std::free(text);
    return shown;
}

void AddAll(app::ProgressDisplay& display) {
    for (int frame = 0; frame < 4; ++frame)
        for (const int percent : {0, 50, 101}) display.ShowFrame(frame, percent);
    display.ShowFinish(0);
    display.ShowFinish(100);
}

TEST(FormatDuration, RoundsUpToSeconds) {
    EXPECT_EQ(app::FormatDuration(0), "0:00");
    EXPECT_EQ(app::FormatDuration(-3), "0:00");
    EXPECT_EQ(app::FormatDuration(4.1), "0:05");
    EXPECT_EQ(app::FormatDuration(754), "12:34");
    EXPECT_EQ(app::FormatDuration(3723), "1:02:03");
}

TEST(ProgressState, CountsTheFinishAsOneFrameMore) {
    EXPECT_DOUBLE_EQ(State(3, 1, 50, 0).Fraction(), 1.5 / 4);
    app::ProgressState finish = State(3, 3, 50, 0);
    finish.IsFinishing = true;
    EXPECT_DOUBLE_EQ(finish.Fraction(), 3.5 / 4);
    finish.StepPercent = 100;
    EXPECT_DOUBLE_EQ(finish.Fraction(), 1.0);
}

TEST(FormatBar, ShowsFramesBarRateAndTimeLeft) {
    EXPECT_EQ(app::FormatBar(State(19, 10, 0, 4.0), 200),
              "frame 11 of 19 [####################....................] 50%  2.5 frames/s  0:04 left");
}

TEST(FormatBar, FitsTheTerminal) {
    for (int columns = 0; columns < 120; ++columns)
        EXPECT_LE(app::FormatBar(State(1000, 10, 30, 400.0), columns).size(), static_cast<std::size_t>(columns));
}

TEST(FormatBar, SaysNothingOfRatesBeforeThereAreAny) {
    EXPECT_EQ(app::FormatBar(State(9, 0, 0, 0.0), 60), "frame 1 of 9 [........................................] 0%");
}

TEST(ProgressDisplay, PrintsAPlainLineATenthWhereThereIsNoTerminal) {
    const std::string shown = Shown(app::ProgressStyle::Auto, 4, AddAll);
    EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 9); // 10, 20, 30, 40, 50, 60, 70, 80 and 100 %
    EXPECT_EQ(shown.find('\r'), std::string::npos);
    EXPECT_TRUE(shown.starts_with("10%  frame 1 of 4")) << shown;
    EXPECT_NE(shown.find("\n100%  4 frames, finishing, "), std::string::npos) << shown;
}

TEST(ProgressDisplay, TakesTheBarAwayAtTheEnd) {
    const std::string shown = Shown(app::ProgressStyle::Bar, 4, AddAll);
    EXPECT_TRUE(shown.starts_with("\rframe 1 of 4 [")) << shown;
    EXPECT_TRUE(shown.ends_with("\r\033[K")) << shown;
    EXPECT_EQ(shown.find('\n'), std::string::npos);
}

TEST(ProgressDisplay, IsSilentWhenToldSo) { EXPECT_EQ(Shown(app::ProgressStyle::None, 4, AddAll), ""); }

} // namespace
