#include "alignment/template_transform.h"

#include <algorithm>
#include <cmath>

#include "alignment/frame_warp.h"
#include "filters/numbers.h"

namespace kyf {

namespace {

std::int32_t Difference(std::int32_t a, std::int32_t b) noexcept { return WrappingSum(a, WrappingProduct(b, -1)); }

double Distance(KyPoint a, KyPoint b) noexcept {
    const std::int32_t dx = Difference(a.x, b.x);
    const std::int32_t dy = Difference(a.y, b.y);
    return std::sqrt(WrappingSum(WrappingProduct(dx, dx), WrappingProduct(dy, dy)));
}

// Over all pairs of points, each as `map` gives it.
template <typename Map> double SumDistances(std::span<const KyPoint> points, Map map) noexcept {
    double sum = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i)
        for (std::size_t j = i + 1; j < points.size(); ++j) sum += Distance(map(points[i]), map(points[j]));
    return sum;
}

KyfRect Around(std::int32_t x, std::int32_t y, std::int32_t halfWidth, std::int32_t halfHeight) noexcept {
    return {Difference(x, halfWidth), Difference(y, halfHeight), WrappingSum(x, halfWidth), WrappingSum(y, halfHeight)};
}

KyfRect Intersection(const KyfRect& a, const KyfRect& b) noexcept {
    const KyfRect both{std::max(a.Left, b.Left), std::max(a.Top, b.Top), std::min(a.Right, b.Right),
                       std::min(a.Bottom, b.Bottom)};
    return both.Left < both.Right && both.Top < both.Bottom ? both : KyfRect{};
}

} // namespace

KyfFrameShift SolveTransform(std::span<const KyPoint> points, std::span<const KyPoint> targets, std::int32_t width,
                             std::int32_t height) noexcept {
    KyfFrameShift shift{1.0, 1.0, 0, 0, 0.0};
    const auto map = [&](KyPoint point) { return MapForward(point, width, height, shift); };
    const double own = SumDistances(points, map);
    const double wanted = SumDistances(targets, [](KyPoint point) { return point; });
    shift.ScaleX = shift.ScaleY = wanted / own;

    double sumX = 0.0;
    double sumY = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const KyPoint mapped = map(points[i]);
        sumX += Difference(targets[i].x, mapped.x);
        sumY += Difference(targets[i].y, mapped.y);
    }
    const auto count = static_cast<double>(points.size());
    shift.ShiftX = TruncateToInt32(sumX / count);
    shift.ShiftY = TruncateToInt32(sumY / count);
    return shift;
}

KyfRect NarrowCommonRect(const KyfRect& common, std::int32_t width, std::int32_t height,
                         const KyfFrameShift& shift) noexcept {
    const KyPoint first = MapForward({0, 0}, width, height, shift);
    const KyPoint last = MapForward({width - 1, height - 1}, width, height, shift);
    return Intersection(common, {std::max(first.x, 0), std::max(first.y, 0), std::min(last.x, width - 1),
                                 std::min(last.y, height - 1)});
}

AreaRects PlaceArea(KyPoint percent, std::int32_t width, std::int32_t height) noexcept {
    const double usedWidth = width * 0.8;
    const double usedHeight = height * 0.8;
    // By -100 and subtracted: truncation acts on the negative product.
    const std::int32_t x = Difference(TruncateToInt32(width * 0.1), TruncateToInt32(percent.x * usedWidth / -100.0));
    const std::int32_t y = Difference(TruncateToInt32(height * 0.1), TruncateToInt32(percent.y * usedHeight / -100.0));
    return {Around(x, y, TruncateToInt32(usedWidth * 0.4 * 0.5), TruncateToInt32(usedHeight * 0.4 * 0.5)),
            Around(x, y, TruncateToInt32(usedWidth * 0.2 * 0.5), TruncateToInt32(usedHeight * 0.2 * 0.5))};
}

} // namespace kyf
