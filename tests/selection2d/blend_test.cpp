// Selection, mask average and blend against their plain forms.
#include <algorithm>
#include <array>
#include <random>

#include <gtest/gtest.h>
#include <omp.h>

#include "filters/image_layout.h"
#include "reference/blend.h"
#include "reference/mask_average.h"
#include "reference/selection.h"
#include "selection2d/blend.h"
#include "selection2d/rows.h"
#include "selection2d/session_run.h"
#include "selection2d/tables.h"

namespace {

struct Shape {
    std::int32_t Width;
    std::int32_t Height;
};

// In the last one a quotient of position and ratio falls just below a whole number.
constexpr std::array<Shape, 15> kAwkwardShapes{{{1, 1},
                                                {1, 7},
                                                {7, 1},
                                                {2, 2},
                                                {3, 2},
                                                {5, 5},
                                                {10, 11},
                                                {11, 10},
                                                {63, 15},
                                                {64, 15},
                                                {65, 15},
                                                {257, 31},
                                                {131, 150},
                                                {412, 24},
                                                {87, 58}}};

/// 0: the parallel flag off.
constexpr std::array<int, 4> kThreads{0, 1, 2, 5};

class Threads {
  public:
    explicit Threads(int threads) : m_before(omp_get_max_threads()) { omp_set_num_threads(std::max(threads, 1)); }
    ~Threads() { omp_set_num_threads(m_before); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;

  private:
    int m_before;
};

/// One later frame of a stack, with everything that its blend looks at.
struct Job {
    Shape Size;
    std::int32_t Format = 3;
    std::int32_t Speed = 0;
    int Threads = 0;
    std::int32_t Window = 0; ///< 0: as the set-up chooses it
    int WinnersPercent = 50; ///< of pixels; 0 and 100 also happen
    bool IsBlanking = false; ///< line shifts with trimming
    std::uint32_t Seed = 1;
};

std::string Describe(const Job& job) {
    return std::to_string(job.Size.Width) + " x " + std::to_string(job.Size.Height) + ", format " +
           std::to_string(job.Format) + ", speed " + std::to_string(job.Speed) + ", threads " +
           std::to_string(job.Threads) + ", window " + std::to_string(job.Window) + ", winners " +
           std::to_string(job.WinnersPercent) + (job.IsBlanking ? ", blanking" : "");
}

/// A session in the middle of a stack: random composite, best values and weights.
test::Session MakeSession(const Job& job, const KyiImageData& frame) {
    test::SessionSettings settings;
    settings.Speed = job.Speed;
    settings.ScopeType = job.IsBlanking ? 1 : 0;
    settings.TrimInvalidBorder = job.IsBlanking;
    test::Session session = test::StartSession(settings);
    kyf::SetUpTables(*session, frame);
    KyfCompositionState& state = session->State2D;
    if (job.Window) session->BlendWindowSize = job.Window;
    state.CompImage = test::RandomImage(frame.Width, frame.Height, frame.Format, job.Seed + 1).release();
    state.FrameCount = 9;
    session->Matching2D.MaxShift = frame.Width / 4;
    session->Matching2D.MinShift = -(frame.Width / 5);
    std::mt19937 random(job.Seed);
    for (std::int32_t y = 0; y < state.WorkHeight; ++y)
        for (std::int32_t x = 0; x < state.WorkWidth; ++x) {
            session->BestFocusMap[y][x] = static_cast<std::int32_t>(random() % 200);
            session->BestFrameMap[y][x] = static_cast<std::int32_t>(random() % 9);
        }
    return session;
}

/// Focus values of the frame in hand: above the best so far in the wished share of the pixels, in patches.
test::Image MakeWorking(const Job& job, const KyfFocusComposition& session) {
    const KyfCompositionState& state = session.State2D;
    test::Image working(
        KyiAllocImageData(state.WorkWidth, state.WorkHeight, kyf::GrayPartnerFormat(state.SourceFormat)));
    std::mt19937 random(job.Seed + 2);
    std::vector<std::int32_t> line(static_cast<std::size_t>(state.WorkWidth));
    for (std::int32_t y = 0; y < state.WorkHeight; ++y) {
        for (std::int32_t x = 0; x < state.WorkWidth; ++x) {
            const std::int32_t best = session.BestFocusMap[y][x];
            const bool isPatch = (x / 70 + y / 20) % 2 == 0 || job.WinnersPercent == 100;
            const bool wins = isPatch && static_cast<int>(random() % 100) < job.WinnersPercent;
            line[static_cast<std::size_t>(x)] = wins ? best + 1 + static_cast<std::int32_t>(random() % 50)
                                                     : best - static_cast<std::int32_t>(random() % 3);
        }
        for (std::int32_t& value : line) value = std::max(value, 0);
        KyiSetLinePixel(working.get(), 0, y, 0, line.data(), state.WorkWidth);
    }
    return working;
}

void ExpectPlainForm(const Job& job) {
    SCOPED_TRACE(Describe(job));
    const Threads threads(job.Threads);
    const test::Image frame = test::RandomImage(job.Size.Width, job.Size.Height, job.Format, job.Seed + 3);
    const test::Session session = MakeSession(job, *frame);
    const KyfCompositionState& state = session->State2D;
    if (!kyf::HasWorkingPixels(state)) return;
    const test::Image working = MakeWorking(job, *session);

    reference::SelectionTables tables{test::BestFocus(*session), test::BestFrames(*session), test::Mask(*session)};
    const test::Image composite(KyiDuplicateImageData(state.CompImage, 0));
    reference::Select(test::ToPlanes(*working), state.FrameCount, tables);
    const std::vector<double> mask =
        reference::AverageMask(tables.Mask, state.WorkWidth, state.WorkHeight, session->BlendWindowSize);
    reference::BlendFrame({mask, state.WorkWidth, state.WorkHeight, job.IsBlanking, session->Matching2D.MinShift,
                           session->Matching2D.MaxShift},
                          *frame, *composite);

    kyf::BlendScratch scratch = kyf::MakeBlendScratch(*session);
    kyf::SelectWinners(*session, *working, job.Threads != 0);
    kyf::BlendFrame(*session, working.get(), *frame, scratch, job.Threads != 0);

    EXPECT_TRUE(test::SameValues(tables.BestFocus, test::BestFocus(*session)));
    EXPECT_TRUE(test::SameValues(tables.BestFrame, test::BestFrames(*session)));
    EXPECT_TRUE(test::SameValues(mask, test::Mask(*session)));
    EXPECT_TRUE(test::SameValues(test::AllPlanes(*composite), test::AllPlanes(*state.CompImage)));
}

TEST(BlendFrame, EqualsThePlainFormInAllFormatsAndSizes) {
    for (const std::int32_t format : test::AllFormats())
        for (const Shape size : kAwkwardShapes)
            for (const std::int32_t speed : {0, 1, 2}) {
                Job job{size, format, speed};
                job.Threads = 2;
                job.Seed = static_cast<std::uint32_t>(size.Width * 31 + format);
                ExpectPlainForm(job);
            }
}

TEST(BlendFrame, EqualsThePlainFormWhateverTheThreads) {
    for (const int threads : kThreads)
        for (const std::int32_t format : {3, 4, 5, 7, 100})
            for (const std::int32_t speed : {0, 1, 2}) {
                Job job{{211, 190}, format, speed};
                job.Threads = threads;
                ExpectPlainForm(job);
            }
}

TEST(BlendFrame, EqualsThePlainFormWithEveryWindow) {
    for (const std::int32_t window : {-1, 0, 1, 3, 5, 9, 21, 41, 63})
        for (const std::int32_t speed : {0, 1}) {
            Job job{{140, 133}, 4, speed};
            job.Window = window;
            job.Threads = 2;
            ExpectPlainForm(job);
        }
}

TEST(BlendFrame, EqualsThePlainFormFromNoWinnerToNothingElse) {
    for (const int percent : {0, 1, 99, 100})
        for (const std::int32_t format : {3, 4, 5, 7, 100}) {
            Job job{{300, 60}, format, 0};
            job.WinnersPercent = percent;
            ExpectPlainForm(job);
        }
}

TEST(BlendFrame, EqualsThePlainFormWhereLineShiftsHaveMovedColumnsOut) {
    for (const std::int32_t format : test::AllFormats())
        for (const Shape size : kAwkwardShapes)
            for (const std::int32_t speed : {0, 1}) {
                Job job{size, format, speed};
                job.IsBlanking = true;
                job.Threads = 2;
                ExpectPlainForm(job);
            }
}

TEST(BlendFrame, BlanksColumnsAlsoWhenNothingWasSelected) {
    for (const std::int32_t format : test::AllFormats())
        for (const std::int32_t speed : {0, 1, 2})
            for (const KyiBool parallel : {0, 1}) {
                Job job{{40, 30}, format, speed};
                job.IsBlanking = true;
                SCOPED_TRACE(Describe(job));
                const test::Image frame = test::RandomImage(40, 30, format, 5);
                const test::Session session = MakeSession(job, *frame);
                const KyfCompositionState& state = session->State2D;
                const test::Image composite(KyiDuplicateImageData(state.CompImage, 0));
                const std::vector<double> noWeights = test::Mask(*session);
                reference::BlendFrame({noWeights, state.WorkWidth, state.WorkHeight, true, session->Matching2D.MinShift,
                                       session->Matching2D.MaxShift},
                                      *frame, *composite);
                kyf::BlendScratch scratch = kyf::MakeBlendScratch(*session);
                kyf::BlendFrame(*session, nullptr, *frame, scratch, parallel);
                EXPECT_TRUE(test::SameValues(test::AllPlanes(*composite), test::AllPlanes(*state.CompImage)));
                EXPECT_TRUE(test::SameValues(noWeights, test::Mask(*session)));
            }
}

// Weights of one frame must not outlive it: the same block takes those of the next.
TEST(BlendFrame, ForgetsTheWeightsOfTheFrameBefore) {
    Job job{{200, 120}, 3, 0};
    const test::Image frame = test::RandomImage(200, 120, 3, 5);
    const test::Session session = MakeSession(job, *frame);
    for (const int percent : {100, 30, 0}) {
        job.WinnersPercent = percent;
        job.Seed += 10;
        const test::Image working = MakeWorking(job, *session);
        reference::SelectionTables tables{test::BestFocus(*session), test::BestFrames(*session), test::Mask(*session)};
        reference::Select(test::ToPlanes(*working), 9, tables);
        kyf::BlendScratch scratch = kyf::MakeBlendScratch(*session);
        kyf::SelectWinners(*session, *working, 0);
        kyf::BlendFrame(*session, working.get(), *frame, scratch, 0);
        EXPECT_TRUE(test::SameValues(reference::AverageMask(tables.Mask, 200, 120, session->BlendWindowSize),
                                     test::Mask(*session)));
    }
}

TEST(SelectRow, LeavesTiesWithTheEarlierFrame) {
    std::array<std::uint8_t, 4> row{10, 11, 9, 0};
    std::array<std::int32_t, 4> best{10, 10, 10, 0};
    std::array<std::int32_t, 4> frames{1, 2, 3, 4};
    kyf::SelectRow8(row.data(), best.data(), frames.data(), 7, 4);
    EXPECT_EQ(row, (std::array<std::uint8_t, 4>{0, 1, 0, 0}));
    EXPECT_EQ(best, (std::array<std::int32_t, 4>{10, 11, 10, 0}));
    EXPECT_EQ(frames, (std::array<std::int32_t, 4>{1, 7, 3, 4}));
}

TEST(SelectRow, ReadsSixteenBitSamplesBeforeItsWinnersTakeTheirPlace) {
    std::vector<std::uint16_t> row(200);
    for (std::size_t x = 0; x < row.size(); ++x) row[x] = static_cast<std::uint16_t>(x % 3 == 0 ? 65535 : 300);
    std::vector<std::int32_t> best(200, 300);
    std::vector<std::int32_t> frames(200, 0);
    kyf::SelectRow16(row.data(), best.data(), frames.data(), 1, 200);
    const auto* const winners = reinterpret_cast<const std::uint8_t*>(row.data());
    for (std::size_t x = 0; x < row.size(); ++x) {
        ASSERT_EQ(winners[x], x % 3 == 0 ? 1 : 0) << x;
        ASSERT_EQ(best[x], x % 3 == 0 ? 65535 : 300) << x;
        ASSERT_EQ(frames[x], x % 3 == 0 ? 1 : 0) << x;
    }
}

TEST(AverageRow, WeighsAFullWindowWithExactlyOne) {
    std::vector<std::uint16_t> counts(40, 9);
    std::vector<double> weights(40, 0.25);
    kyf::AverageRow(counts.data(), weights.data(), 40, 9);
    for (std::size_t x = 0; x < weights.size(); ++x) EXPECT_EQ(weights[x], x >= 4 && x < 35 ? 1.0 : 0.25) << x;
}

} // namespace
