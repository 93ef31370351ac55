#include "compose_warnings.h"

#include <limits>

#include <gtest/gtest.h>

#include "support/images.h"

namespace {

using Lines = std::vector<std::string>;

constexpr int kManyProcessors = 8;

Lines Warnings(const app::ComposeOptions& options, int width, int format, int processors = kManyProcessors) {
    const test::Image frame = test::RandomImage(width, 3, format, 1);
    return app::SettingWarnings(options, *frame, processors);
}

TEST(SettingWarnings, AreNoneForTheDefaults) {
    for (const int format : {KyiFormatGray8, KyiFormatBgr24, KyiFormatGray16, KyiFormatBgr48})
        for (const int processors : {1, 2}) EXPECT_EQ(Warnings({}, 1000, format, processors), Lines{});
}

TEST(SettingWarnings, TellThatReduced16BitFramesAreCutInTheSequentialForm) {
    app::ComposeOptions options;
    options.Settings.Speed = 2;
    EXPECT_EQ(Warnings(options, 1000, KyiFormatBgr48), Lines{});
    EXPECT_EQ(Warnings(options, 1000, KyiFormatBgr48, 1),
              Lines{"--speed quarter on one processor judges 16-bit frames by samples cut at 255, which spoils the "
                    "result, expected --speed full"});
    options.NoParallel = true;
    EXPECT_EQ(Warnings(options, 1000, KyiFormatGray16),
              Lines{"--speed quarter with --no-parallel judges 16-bit frames by samples cut at 255, which spoils the "
                    "result, expected --threads 1 in the place of --no-parallel"});
    EXPECT_EQ(Warnings(options, 1000, KyiFormatBgr24), Lines{});
    options.Settings.Speed = 0;
    EXPECT_EQ(Warnings(options, 1000, KyiFormatGray16), Lines{});
}

TEST(SettingWarnings, TellThatThe3dModesReduceWide16BitFrames) {
    app::ComposeOptions options;
    options.NoParallel = true;
    for (const int mode : {KyfAlgorithmType3DSafe, KyfAlgorithmTypeComplexProcessing}) {
        options.Settings.AlgType = mode;
        EXPECT_EQ(Warnings(options, 512, KyiFormatGray16), Lines{});
        EXPECT_EQ(Warnings(options, 513, KyiFormatGray8), Lines{});
        EXPECT_EQ(Warnings(options, 513, KyiFormatGray16).size(), 1U);
    }
    EXPECT_EQ(Warnings(options, 513, KyiFormatGray16, 1),
              Lines{"--mode complex on one processor judges 16-bit frames by samples cut at 255, which spoils the "
                    "result, expected --mode 2d --speed full"});
    options.Settings.AlgType = KyfAlgorithmType3DSafe;
    options.Settings.Speed = 1;
    EXPECT_EQ(Warnings(options, 512, KyiFormatGray16), Lines{});
    options.Settings.AlgType = KyfAlgorithmTypeComplexProcessing;
    EXPECT_EQ(Warnings(options, 512, KyiFormatGray16).size(), 1U);
}

Lines MoveWarnings(const std::vector<app::FrameMove>& moves, int scope = 0) {
    app::ComposeOptions options;
    options.Settings.ScopeType = scope;
    app::Summary summary;
    summary.Width = 1000;
    summary.Height = 500;
    summary.Moves2d.emplace_back();
    summary.Moves2d.insert(summary.Moves2d.end(), moves.begin(), moves.end());
    for (std::size_t i = 0; i < summary.Moves2d.size(); ++i)
        summary.Frames.emplace_back(std::to_string(i).append(".png"));
    return app::MoveWarnings(options, summary);
}

// 1000 pixels are searched from 80 to the left to 71 to the right, 500 from 40 up to 31 down.
TEST(MoveWarnings, TellWhereTemplateAreasReachTheirEnd) {
    for (const app::FrameMove& near : {app::FrameMove{-69, 0}, {60, 0}, {0, -34}, {0, 25}, {60, 25}})
        EXPECT_EQ(MoveWarnings({near}), Lines{}) << near.X << ", " << near.Y;
    for (const app::FrameMove& far : {app::FrameMove{-70, 0}, {61, 0}, {0, -35}, {0, 26}, {-500, 0}})
        EXPECT_EQ(MoveWarnings({far}).size(), 1u) << far.X << ", " << far.Y;
    EXPECT_EQ(
        MoveWarnings({{3, 4}, {-72, 5, 1.01, 1.01}, {0, -40}}),
        Lines{"2.png (and 1 more): --align auto has moved it by -72, 5 pixels and magnified it by 1.01; it follows "
              "up to 8 % of width and height in all and loses what drifts farther"});
}

TEST(MoveWarnings, TellOfMagnificationsThatHardlyAnyStackHas) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(MoveWarnings({{0, 0, 0.96, 0.96}, {0, 0, 1.04, 1.04}}), Lines{});
    for (const double scale : {nan, infinity, 0.0, -1.0, 0.94, 1.06})
        EXPECT_EQ(MoveWarnings({{0, 0, scale, scale}}).size(), 1u) << scale;
    EXPECT_EQ(MoveWarnings({{0, 0, 1.25, 1.25}}),
              Lines{"1.png: --align auto has moved it by 0, 0 pixels and magnified it by 1.25, as hardly any stack "
                    "does: are its areas found again? Expected --area-pos at places with detail"});
    EXPECT_EQ(MoveWarnings({{90, 0, nan, nan}}).size(), 2u);
}

TEST(MoveWarnings, AreForTemplateAreasAlone) {
    for (const int scope : {1, 2, 3}) EXPECT_EQ(MoveWarnings({{200, 0, 3.0, 3.0}}, scope), Lines{});
    EXPECT_EQ(MoveWarnings({}), Lines{});
}

std::vector<double> Even(double start, double step, int count) {
    std::vector<double> heights;
    for (int i = 0; i < count; ++i) heights.push_back(start + step * i);
    return heights;
}

bool WarnsOfPlane(int plane, const std::vector<double>& heights) {
    app::ComposeOptions options;
    options.Settings.AlgType = KyfAlgorithmTypeComplexProcessing;
    options.Settings.PlaneType = plane;
    return !app::PlaneWarnings(options, heights).empty();
}

TEST(PlaneWarnings, TellWhatThePlaneWouldFillWith) {
    app::ComposeOptions options;
    options.Settings.AlgType = KyfAlgorithmTypeComplexProcessing;
    EXPECT_EQ(
        app::PlaneWarnings(options, Even(0.0, 0.5, 20)),
        Lines{"--plane top fills wide areas without detail with a height of about 4.75 here, not with that of the "
              "top, 9.5: it is for heights that start at 0 and rise in steps of at least 1, expected --plane "
              "other"});
    options.Settings.AlgType = KyfAlgorithmType3DSafe;
    options.Settings.PlaneType = KyfPlaneTypeBottom;
    EXPECT_EQ(app::PlaneWarnings(options, Even(100.0, 2.0, 20)),
              Lines{"--plane bottom fills wide areas without detail with a height of about 138 here, not with that of "
                    "the bottom, 100: it is for heights that start at 0 and rise, expected --plane other"});
}

TEST(PlaneWarnings, AreNoneForHeightsThatThePlaneFits) {
    EXPECT_FALSE(WarnsOfPlane(KyfPlaneTypeTop, Even(0.0, 1.0, 20)));
    EXPECT_FALSE(WarnsOfPlane(KyfPlaneTypeTop, Even(0.0, 2.5, 3)));
    EXPECT_FALSE(WarnsOfPlane(KyfPlaneTypeTop, Even(100.0, 2.0, 20)));
    EXPECT_FALSE(WarnsOfPlane(KyfPlaneTypeBottom, Even(0.0, 0.1, 20)));
    EXPECT_FALSE(WarnsOfPlane(KyfPlaneTypeBottom, Even(-50.0, 2.0, 20)));
    EXPECT_FALSE(WarnsOfPlane(KyfPlaneTypeOther, Even(0.0, 0.1, 20)));
}

TEST(PlaneWarnings, ComeForHeightsThatThePlaneDoesNotFit) {
    EXPECT_TRUE(WarnsOfPlane(KyfPlaneTypeTop, Even(0.0, 0.1, 20)));
    EXPECT_TRUE(WarnsOfPlane(KyfPlaneTypeTop, Even(38.0, -2.0, 20)));
    EXPECT_TRUE(WarnsOfPlane(KyfPlaneTypeTop, Even(-100.0, 2.0, 20)));
    EXPECT_TRUE(WarnsOfPlane(KyfPlaneTypeBottom, Even(38.0, -2.0, 20)));
    EXPECT_TRUE(WarnsOfPlane(KyfPlaneTypeBottom, Even(100.0, 2.0, 20)));
    EXPECT_TRUE(WarnsOfPlane(KyfPlaneTypeBottom, Even(3.0, 0.1, 20)));
}

TEST(PlaneWarnings, AreNoneWhereNothingIsFilled) {
    app::ComposeOptions options;
    options.Settings.AlgType = KyfAlgorithmType2DSelection;
    EXPECT_EQ(app::PlaneWarnings(options, Even(0.0, 0.1, 20)), Lines{});
    EXPECT_FALSE(WarnsOfPlane(KyfPlaneTypeTop, {}));
    EXPECT_FALSE(WarnsOfPlane(KyfPlaneTypeTop, {0.25}));
    EXPECT_FALSE(WarnsOfPlane(KyfPlaneTypeTop, {0.25, 0.25, 0.25}));
}

TEST(SettingWarnings, LeaveOutWhatTheModeDoesNotRead) {
    app::ComposeOptions options;
    options.Settings.CompSize = options.Settings.Smoothing = 1;
    options.HeightMapOutput = "z.tif";
    EXPECT_EQ(Warnings(options, 100, KyiFormatGray8).size(), 2U);
    options.Settings.AlgType = KyfAlgorithmTypeComplexProcessing;
    EXPECT_EQ(Warnings(options, 100, KyiFormatGray8).size(), 1U);
    options.Settings.AlgType = KyfAlgorithmType3DSafe;
    EXPECT_EQ(Warnings(options, 100, KyiFormatGray8), Lines{});
}

TEST(SettingWarnings, TellOfACutoffBelowTwoPixels) {
    app::ComposeOptions options;
    options.Settings.CompSize = 1;
    EXPECT_EQ(Warnings(options, 200, KyiFormatGray8), Lines{});
    EXPECT_EQ(Warnings(options, 100, KyiFormatGray8),
              Lines{"--comp-size 1 is a cutoff of 1.00 pixels here; below 2 pixels it smooths more, not less, and may "
                    "take all detail away, expected 0 or at least 2"});
    options.Settings.Speed = 1;
    EXPECT_EQ(Warnings(options, 200, KyiFormatGray8).size(), 1U);
    options.Settings.CompSize = 2;
    EXPECT_EQ(Warnings(options, 200, KyiFormatGray8), Lines{});
    options.Settings.CompSize = 0;
    EXPECT_EQ(Warnings(options, 1, KyiFormatGray8), Lines{});
}

TEST(SettingWarnings, ExpectNoSmoothingWhereNoCutoffIsLongEnough) {
    app::ComposeOptions options;
    options.Settings.CompSize = 100;
    const Lines lines = Warnings(options, 1, KyiFormatGray8);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].ends_with("expected 0")) << lines[0];
}

TEST(SettingWarnings, SpeakOfTheHeightsOnlyWhereThereAreAny) {
    app::ComposeOptions options;
    options.Settings.CompSize = 0;
    options.Settings.Smoothing = 1;
    options.Settings.Speed = 2; // the heights have the frames' size all the same
    EXPECT_EQ(Warnings(options, 100, KyiFormatGray8), Lines{});
    options.HeightMapOutput = "z.tif";
    ASSERT_EQ(Warnings(options, 100, KyiFormatGray8).size(), 1U);
    EXPECT_TRUE(Warnings(options, 100, KyiFormatGray8)[0].starts_with("--smoothing 1 is a cutoff of 1.00 pixels"));
    EXPECT_EQ(Warnings(options, 200, KyiFormatGray8), Lines{});
}

} // namespace
