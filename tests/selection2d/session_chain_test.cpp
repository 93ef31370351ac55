// Whole sessions at random settings against the chain of plain forms.
#include <algorithm>
#include <array>
#include <limits>
#include <random>

#include <gtest/gtest.h>
#include <omp.h>

#include "filters/filters.h"
#include "filters/image_layout.h"
#include "filters/numbers.h"
#include "filters/shapes.h"
#include "reference/blend.h"
#include "reference/edge_strength.h"
#include "reference/mask_average.h"
#include "reference/maximum5x5.h"
#include "reference/reduce.h"
#include "reference/selection.h"
#include "reference/spline_image.h"
#include "selection2d/session_run.h"

namespace {

using test::Image;
using Random = std::mt19937;

constexpr int kSessions = 250;

std::int32_t Below(Random& random, std::int32_t count) {
    return static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(count));
}

template <typename T, std::size_t kCount> T OneOf(Random& random, const std::array<T, kCount>& values) {
    return values[random() % kCount];
}

/// One stack's settings, and the host's.
struct Settings {
    test::SessionSettings Session;
    std::int32_t Width;
    std::int32_t Height;
    std::int32_t Format;
    KyiBool Parallel;
    int Threads;
    std::uint32_t SizeLimit; ///< of the parallel rule, in pixels
};

Settings ChooseSettings(Random& random) {
    constexpr std::array<std::int32_t, 12> kCompSizes{8,
                                                      8,
                                                      0,
                                                      -8,
                                                      1,
                                                      2,
                                                      3,
                                                      50,
                                                      100,
                                                      1000,
                                                      std::numeric_limits<std::int32_t>::min(),
                                                      std::numeric_limits<std::int32_t>::max()};
    Settings chosen{};
    const bool isWide = Below(random, 8) == 0; // for a blend window above the least
    chosen.Width = isWide ? 800 + Below(random, 300) : 4 + Below(random, 120);
    chosen.Height = isWide ? 14 + Below(random, 12) : 4 + Below(random, 90);
    const auto formats = test::AllFormats();
    chosen.Format = formats[random() % formats.size()];
    chosen.Session.Speed = Below(random, 3);
    chosen.Session.CompSize = OneOf(random, kCompSizes);
    // In colour, brightness selects nothing: that has a test of its own.
    const bool isGray = KyiIsFormatGrayscale(chosen.Format) != 0;
    chosen.Session.ScopeType = OneOf(random, std::array<std::int32_t, 3>{0, isGray ? 2 : 0, 7});
    chosen.Parallel = Below(random, 3) != 0;
    chosen.Threads = 1 + Below(random, 5);
    const std::int32_t pixels = chosen.Width * chosen.Height;
    chosen.SizeLimit = Below(random, 3) == 0 ? static_cast<std::uint32_t>(1 + Below(random, 2 * pixels)) : 0;
    return chosen;
}

std::string Describe(const Settings& chosen) {
    return std::to_string(chosen.Width) + " x " + std::to_string(chosen.Height) + ", format " +
           std::to_string(chosen.Format) + ", speed " + std::to_string(chosen.Session.Speed) + ", size " +
           std::to_string(chosen.Session.CompSize) + ", scope " + std::to_string(chosen.Session.ScopeType) +
           ", parallel " + std::to_string(chosen.Parallel) + ", threads " + std::to_string(chosen.Threads) +
           ", limit " + std::to_string(chosen.SizeLimit);
}

class PlainStack {
  public:
    explicit PlainStack(const Settings& settings)
        : m_settings(settings), m_workWidth(settings.Width >> settings.Session.Speed),
          m_workHeight(m_workWidth * settings.Height / settings.Width),
          m_window(std::max(m_workWidth / 200 * 2 + 1, settings.Session.Speed == 0 ? 9 : 3)) {}

    bool HasWorkingPixels() const { return m_workWidth > 0 && m_workHeight > 0; }
    void Add(const KyiImageData& frame);
    void Expect(const KyfFocusComposition& session) const;

  private:
    std::vector<std::int32_t> FocusOf(const KyiImageData& frame) const;
    bool UseParallel(const KyiImageData& image) const { return kyf::UseParallelProcess(&image, m_settings.Parallel); }
    template <typename Filter>
    static void Replace(Image& image, std::int32_t width, std::int32_t height, Filter filter) {
        Image result(KyiAllocImageData(width, height, image->Format));
        filter(*image, *result);
        image = std::move(result);
    }

    Settings m_settings;
    std::int32_t m_workWidth;
    std::int32_t m_workHeight;
    std::int32_t m_window;
    std::int32_t m_count = 0;
    reference::SelectionTables m_tables;
    std::vector<double> m_weights;
    Image m_composite;
};

std::vector<std::int32_t> PlainStack::FocusOf(const KyiImageData& frame) const {
    const bool isBrightness = m_settings.Session.ScopeType == 2;
    Image image(KyiAllocImageData(frame.Width, frame.Height, kyf::GrayPartnerFormat(frame.Format)));
    if (KyiIsFormatGrayscale(frame.Format))
        KyiCopyImageData(&frame, image.get(), 0, 0);
    else
        KyiTransformToGray(&frame, image.get(), 0);
    if (m_workWidth != frame.Width || m_workHeight != frame.Height)
        Replace(image, m_workWidth, m_workHeight,
                [&](const KyiImageData& in, KyiImageData& out) { reference::ReduceImage(in, out, UseParallel(in)); });
    const auto edge = [](const KyiImageData& in, KyiImageData& out) { reference::FilterEdgeStrength(in, out); };
    const auto maximum = [](const KyiImageData& in, KyiImageData& out) { reference::FilterMaximum5x5(in, out); };
    if (!isBrightness) Replace(image, m_workWidth, m_workHeight, edge);
    Replace(image, m_workWidth, m_workHeight, maximum);
    Replace(image, m_workWidth, m_workHeight, [&](const KyiImageData& in, KyiImageData& out) {
        const double size = static_cast<double>(m_settings.Session.CompSize) * m_workWidth / 200.0;
        reference::FilterSplineImage(in, out, size, size, 1.0, UseParallel(in));
    });
    return test::ToPlanes(*image);
}

void PlainStack::Add(const KyiImageData& frame) {
    const std::vector<std::int32_t> focus = FocusOf(frame);
    if (m_count == 0) {
        m_tables = {focus, std::vector<std::int32_t>(focus.size(), 0), std::vector<double>(focus.size(), 0.0)};
        m_weights = m_tables.Mask;
        m_composite.reset(KyiDuplicateImageData(&frame, 0));
    } else {
        reference::Select(focus, m_count, m_tables);
        m_weights = reference::AverageMask(m_tables.Mask, m_workWidth, m_workHeight, m_window);
        reference::BlendFrame({m_weights, m_workWidth, m_workHeight, false, 0, 0}, frame, *m_composite);
    }
    ++m_count;
}

void PlainStack::Expect(const KyfFocusComposition& session) const {
    ASSERT_EQ(session.State2D.WorkWidth, m_workWidth);
    ASSERT_EQ(session.State2D.WorkHeight, m_workHeight);
    EXPECT_TRUE(test::SameValues(m_tables.BestFocus, test::BestFocus(session)));
    EXPECT_TRUE(test::SameValues(m_tables.BestFrame, test::BestFrames(session)));
    EXPECT_TRUE(test::SameValues(m_weights, test::Mask(session)));
    EXPECT_TRUE(test::SameValues(test::AllPlanes(*m_composite), test::AllPlanes(*session.State2D.CompImage)));
}

class SessionChain : public testing::Test {
  protected:
    void TearDown() override { kyf::g_parallelProcImageSize = 0; }
};

TEST_F(SessionChain, EqualsThePlainFormsAtAnySetting) {
    Random random(20240611);
    for (int i = 0; i < kSessions; ++i) {
        const Settings chosen = ChooseSettings(random);
        SCOPED_TRACE(testing::Message() << "session " << i << ": " << Describe(chosen));
        PlainStack plain(chosen);
        if (!plain.HasWorkingPixels()) continue;
        const test::ThreadScope threads(chosen.Threads);
        kyf::g_parallelProcImageSize = chosen.SizeLimit;
        const test::Session session = test::StartSession(chosen.Session);
        const std::size_t content = random() % test::kContents;
        for (int frames = 2 + Below(random, 2); frames > 0; --frames) {
            const Image frame = test::MakeContent({chosen.Width, chosen.Height}, chosen.Format, content,
                                                  static_cast<std::uint32_t>(random()));
            plain.Add(*frame);
            ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), chosen.Parallel, nullptr), KyfResultOk);
            plain.Expect(*session);
            if (HasFailure()) return;
        }
    }
}

} // namespace
