#include "height_picture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "colour_map.h"
#include "drawing.h"
#include "errors.h"

namespace app {
namespace {

constexpr Bgr kWhite = {255, 255, 255};
constexpr Bgr kBlack = {0, 0, 0};
constexpr Bgr kHole = {128, 128, 128};

struct Range {
    double Least;
    double Greatest;
    double PositionOf(double height) const { return (height - Least) / (Greatest - Least); }
};

/// The heights of a map; around the one height of a flat map.
Range RangeOf(const HeightMap& map) {
    Range range{INFINITY, -INFINITY};
    for (const double height : map.Values) {
        if (!std::isfinite(height)) continue;
        range.Least = std::min(range.Least, height);
        range.Greatest = std::max(range.Greatest, height);
    }
    if (range.Least > range.Greatest) return {0.0, 1.0};
    if (range.Least < range.Greatest) return range;
    const double half = std::max(0.5, std::abs(range.Least) * 0.001);
    return {range.Least - half, range.Least + half};
}

std::string FormatTick(double value, double step, double largest) {
    constexpr int kMostDigits = 6; // written out before or after the point; beyond it with an exponent
    const int stepDigit = static_cast<int>(std::floor(std::log10(step) + 1e-9));
    const int firstDigit = static_cast<int>(std::floor(std::log10(largest)));
    std::array<char, 64> text;
    char* const last = text.data() + text.size();
    const bool isPlain = firstDigit < kMostDigits && stepDigit > -kMostDigits;
    const auto result = isPlain
                            ? std::to_chars(text.data(), last, value, std::chars_format::fixed, std::max(0, -stepDigit))
                            : std::to_chars(text.data(), last, value, std::chars_format::scientific,
                                            std::clamp(firstDigit - stepDigit, 0, 16));
    return {text.data(), result.ptr};
}

/// Where everything stands, in pixels.
struct Layout {
    int Dot = 1; // of the letters
    int Margin = 0;
    int BarX = 0;
    int BarY = 0;
    int BarWidth = 0;
    int BarHeight = 0;
    int Width = 0;
    int Height = 0;

    int LabelX() const { return BarX + BarWidth + 6 * Dot; }
    int YOf(double position) const { return BarY + static_cast<int>(std::lround((1.0 - position) * (BarHeight - 1))); }
};

Layout LayOut(const HeightMap& map, const std::vector<Tick>& ticks, const std::wstring& unit) {
    constexpr int kRowsPerDot = 360;
    constexpr int kLeastBar = 120; // room for nine labels
    Layout layout;
    layout.Dot = std::clamp(map.Height / kRowsPerDot, 1, 12);
    layout.Margin = 8 * layout.Dot;
    layout.BarX = map.Width + 2 * layout.Margin;
    layout.BarY = layout.Margin + 2 * kGlyphHeight * layout.Dot; // the unit stands above
    layout.BarWidth = 14 * layout.Dot;
    layout.Height = std::max(map.Height + 2 * layout.Margin, layout.BarY + kLeastBar * layout.Dot + layout.Margin);
    layout.BarHeight = layout.Height - layout.Margin - layout.BarY;
    int labels = 0;
    for (const Tick& tick : ticks) labels = std::max(labels, TextWidth(WidePath(tick.Label), layout.Dot));
    const int right = std::max(layout.LabelX() + labels, layout.BarX + TextWidth(unit, layout.Dot));
    layout.Width = right + layout.Margin;
    return layout;
}

void DrawMap(KyiImageData& picture, const HeightMap& map, const Range& range, const Layout& layout) {
    for (int y = 0; y < map.Height; ++y) {
        const double* const row = map.Values.data() + static_cast<std::ptrdiff_t>(y) * map.Width;
        auto* pixel = static_cast<unsigned char*>(KyiGetPixelAddress(&picture, layout.Margin, layout.Margin + y));
        for (int x = 0; x < map.Width; ++x, pixel += 3) {
            const Bgr colour = std::isfinite(row[x]) ? ColourOf(range.PositionOf(row[x])) : kHole;
            pixel[0] = colour.Blue;
            pixel[1] = colour.Green;
            pixel[2] = colour.Red;
        }
    }
}

void DrawBar(KyiImageData& picture, const Range& range, const std::vector<Tick>& ticks, const Layout& layout) {
    const int line = layout.Dot;
    FillRectangle(picture, layout.BarX - line, layout.BarY - line, layout.BarWidth + 2 * line,
                  layout.BarHeight + 2 * line, kBlack);
    for (int y = 0; y < layout.BarHeight; ++y)
        FillRectangle(picture, layout.BarX, layout.BarY + y, layout.BarWidth, 1,
                      ColourOf(1.0 - static_cast<double>(y) / (layout.BarHeight - 1)));
    for (const Tick& tick : ticks) {
        const int y = layout.YOf(range.PositionOf(tick.Value));
        FillRectangle(picture, layout.BarX + layout.BarWidth, y - line / 2, 4 * layout.Dot, line, kBlack);
        DrawLabel(picture, WidePath(tick.Label), layout.LabelX(), y - kGlyphHeight * layout.Dot / 2, layout.Dot);
    }
}

} // namespace

std::vector<Tick> TicksOf(double least, double greatest) {
    constexpr double kMostSteps = 8.0;
    const double range = greatest - least;
    const double power = std::pow(10.0, std::floor(std::log10(range / kMostSteps)));
    double step = power;
    for (const double factor : {2.0, 5.0, 10.0})
        if (range / step > kMostSteps) step = power * factor;
    if (!(step > 0.0)) return {}; // a range next to nothing
    const double largest = std::max(std::abs(least), std::abs(greatest));
    std::vector<Tick> ticks;
    const double first = std::ceil(least / step - 1e-9);
    const double last = std::floor(greatest / step + 1e-9);
    for (double index = first; index <= last; index += 1.0) {
        const double value = index * step + 0.0; // no negative zero
        ticks.push_back({value, FormatTick(value, step, largest)});
        if (index + 1.0 == index) break; // doubles are too coarse for these steps
    }
    return ticks;
}

Image RenderHeightPicture(const HeightMap& map, const std::string& unit) {
    const Range range = RangeOf(map);
    const std::vector<Tick> ticks = TicksOf(range.Least, range.Greatest);
    const std::wstring title = WidePath(unit);
    const Layout layout = LayOut(map, ticks, title);
    Image picture(KyiAllocImageData(layout.Width, layout.Height, KyiFormatBgr24));
    if (!picture) throw Failure("out of memory for the height picture");
    FillRectangle(*picture, 0, 0, layout.Width, layout.Height, kWhite);
    DrawMap(*picture, map, range, layout);
    DrawBar(*picture, range, ticks, layout);
    DrawLabel(*picture, title, layout.BarX, layout.Margin, layout.Dot);
    return picture;
}

} // namespace app
