#include "metrics.h"

#include <array>
#include <cmath>
#include <vector>

#include "errors.h"
#include "images.h"
#include "per_thread.h"

namespace app {
namespace {

constexpr int kWindow = 11;
constexpr int kMiddle = kWindow / 2;
constexpr double kSigma = 1.5;

/// The window along one axis; the window of the plane is its product with itself.
std::array<double, kWindow> WindowWeights() {
    std::array<double, kWindow> weights{};
    double sum = 0.0;
    for (int i = 0; i < kWindow; ++i) {
        const double distance = i - kMiddle;
        weights[static_cast<std::size_t>(i)] = std::exp(-distance * distance / (2.0 * kSigma * kSigma));
        sum += weights[static_cast<std::size_t>(i)];
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

/// Weighted sums of x, y, x^2, y^2 and xy over a window.
enum Moment { kX, kY, kXX, kYY, kXY, kMoments };

/// Scratch of one thread: two rows of samples and the moments of a row, weighted along the columns only.
struct Scratch {
    explicit Scratch(std::size_t width) : First(width), Second(width) {
        for (auto& row : Columns) row.resize(width);
    }
    std::vector<std::int32_t> First;
    std::vector<std::int32_t> Second;
    std::array<std::vector<double>, kMoments> Columns;
};

/// Adds one row of samples to the moments of the columns.
void AddRow(double weight, Scratch& scratch) noexcept {
    for (std::size_t i = 0; i < scratch.First.size(); ++i) {
        const double x = scratch.First[i];
        const double y = scratch.Second[i];
        scratch.Columns[kX][i] += weight * x;
        scratch.Columns[kY][i] += weight * y;
        scratch.Columns[kXX][i] += weight * (x * x);
        scratch.Columns[kYY][i] += weight * (y * y);
        scratch.Columns[kXY][i] += weight * (x * y);
    }
}

/// Similarity of one window from its moments.
double Similarity(const std::array<double, kMoments>& moment, double c1, double c2) noexcept {
    const double meanX = moment[kX];
    const double meanY = moment[kY];
    const double varianceX = moment[kXX] - meanX * meanX;
    const double varianceY = moment[kYY] - meanY * meanY;
    const double covariance = moment[kXY] - meanX * meanY;
    return (2.0 * meanX * meanY + c1) * (2.0 * covariance + c2) /
           ((meanX * meanX + meanY * meanY + c1) * (varianceX + varianceY + c2));
}

/// Sum of the similarities of the windows whose top row is `y`.
double RowOfWindows(const KyiImageData& first, const KyiImageData& second, int y,
                    const std::array<double, kWindow>& weights, Scratch& scratch) {
    for (auto& row : scratch.Columns) row.assign(row.size(), 0.0);
    for (int i = 0; i < kWindow; ++i) {
        KyiGetLinePixel(&first, 0, y + i, 0, scratch.First.data(), first.Width);
        KyiGetLinePixel(&second, 0, y + i, 0, scratch.Second.data(), first.Width);
        AddRow(weights[static_cast<std::size_t>(i)], scratch);
    }
    const double peak = KyiGetMaxVal(first.Format);
    const double c1 = (0.01 * peak) * (0.01 * peak);
    const double c2 = (0.03 * peak) * (0.03 * peak);
    double sum = 0.0;
    for (std::size_t x = 0; x + kWindow <= scratch.First.size(); ++x) {
        std::array<double, kMoments> moment{};
        for (std::size_t m = 0; m < kMoments; ++m)
            for (std::size_t i = 0; i < kWindow; ++i) moment[m] += weights[i] * scratch.Columns[m][x + i];
        sum += Similarity(moment, c1, c2);
    }
    return sum;
}

/// The gray form of a colour image; empty for an image that is gray already.
Image GrayOf(const KyiImageData& image) {
    if (!KyiIsFormatBgr(image.Format)) return nullptr;
    const std::int32_t format = KyiGetDepth(image.Format) == 256 ? KyiFormatGray8 : KyiFormatGray16;
    Image gray(KyiAllocImageData(image.Width, image.Height, format));
    if (!gray) throw Failure("out of memory for " + DescribeImage(image));
    KyiTransformToGray(&image, gray.get(), 0);
    return gray;
}

} // namespace

std::optional<double> StructuralSimilarity(const KyiImageData& first, const KyiImageData& second) {
    if (first.Width < kWindow || first.Height < kWindow) return std::nullopt;
    const Image firstGray = GrayOf(first);
    const Image secondGray = GrayOf(second);
    const KyiImageData& x = firstGray ? *firstGray : first;
    const KyiImageData& y = secondGray ? *secondGray : second;
    const std::array<double, kWindow> weights = WindowWeights();
    const int rows = x.Height - kWindow + 1;
    std::vector<double> sums(static_cast<std::size_t>(rows));
    PerThread<Scratch> scratches(static_cast<std::size_t>(x.Width));
#pragma omp parallel
    {
        Scratch& scratch = scratches.Mine();
#pragma omp for schedule(static)
        for (int row = 0; row < rows; ++row)
            sums[static_cast<std::size_t>(row)] = RowOfWindows(x, y, row, weights, scratch);
    }
    double sum = 0.0;
    for (const double row : sums) sum += row;
    return sum / (static_cast<double>(rows) * (x.Width - kWindow + 1));
}

} // namespace app
