/// Template matching of a stack in its plain form.
#ifndef KYFOCUS_TESTS_REFERENCE_TEMPLATE_MATCHING_H
#define KYFOCUS_TESTS_REFERENCE_TEMPLATE_MATCHING_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include <kyfocus/alignment.h>

#include "reference/frame_warp.h"
#include "reference/pattern_matching.h"
#include "support/images.h"

namespace reference {

inline std::int32_t More(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

/// The areas of a stack, and what each is searched in.
struct TemplateStack {
    std::vector<KyfRect> SearchRects;
    std::vector<KyfRect> TemplateRects;
    std::vector<SampleTable> SearchImages;
    KyfRect CommonRect{};
};

inline KyfRect RectAround(std::int32_t x, std::int32_t y, std::int32_t halfWidth, std::int32_t halfHeight) {
    return {Less(x, halfWidth), Less(y, halfHeight), More(x, halfWidth), More(y, halfHeight)};
}

/// Green or gray samples of `width` x `height` pixels, with the frame's edge repeated.
inline SampleTable Cut(const KyiImageData& frame, std::int32_t left, std::int32_t top, std::int32_t width,
                       std::int32_t height) {
    SampleTable table;
    for (std::int32_t y = 0; y < height; ++y) {
        table.emplace_back(static_cast<std::size_t>(width));
        if (width > 0) KyiGetLinePixel(&frame, left, More(top, y), 1, table.back().data(), width);
    }
    return table;
}

/// The last column and row of what is cut out are not searched.
inline void CutSearchImages(TemplateStack& stack, const KyiImageData& frame) {
    stack.SearchImages.clear();
    for (const KyfRect& area : stack.SearchRects) {
        const std::int32_t width = Less(area.Right, area.Left);
        const std::int32_t height = Less(area.Bottom, area.Top);
        const bool isEmpty = width < 1 || height < 1;
        stack.SearchImages.push_back(isEmpty ? SampleTable{} : Cut(frame, area.Left, area.Top, width - 1, height - 1));
    }
}

inline TemplateStack StartTemplateStack(const KyiImageData& frame, const std::vector<KyPoint>& places) {
    const std::int32_t W = frame.Width;
    const std::int32_t H = frame.Height;
    const double tw = W * 0.8;
    const double th = H * 0.8;
    const std::int32_t ox = Whole(W * 0.1);
    const std::int32_t oy = Whole(H * 0.1);
    TemplateStack stack;
    for (const KyPoint& place : places) {
        const std::int32_t cx = Less(ox, Whole(place.x * tw / -100.0));
        const std::int32_t cy = Less(oy, Whole(place.y * th / -100.0));
        stack.SearchRects.push_back(RectAround(cx, cy, Whole(tw * 0.4 * 0.5), Whole(th * 0.4 * 0.5)));
        stack.TemplateRects.push_back(RectAround(cx, cy, Whole(tw * 0.2 * 0.5), Whole(th * 0.2 * 0.5)));
    }
    CutSearchImages(stack, frame);
    stack.CommonRect = {0, 0, W - 1, H - 1};
    return stack;
}

inline double PairDistances(const std::vector<KyPoint>& points) {
    double sum = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i)
        for (std::size_t j = i + 1; j < points.size(); ++j) {
            const auto dx = static_cast<std::uint32_t>(Less(points[i].x, points[j].x));
            const auto dy = static_cast<std::uint32_t>(Less(points[i].y, points[j].y));
            sum += std::sqrt(static_cast<std::int32_t>(dx * dx + dy * dy));
        }
    return sum;
}

inline KyfFrameShift Solve(const std::vector<KyPoint>& cur, const std::vector<KyPoint>& ref, std::int32_t W,
                           std::int32_t H) {
    KyfFrameShift shift{1.0, 1.0, 0, 0, 0.0};
    std::vector<KyPoint> mapped;
    for (const KyPoint& point : cur) mapped.push_back(MapForward(point, W, H, shift));
    const double dc = PairDistances(mapped);
    const double dr = PairDistances(ref);
    shift.ScaleX = dr / dc;
    shift.ScaleY = dr / dc;
    double sumX = 0.0;
    double sumY = 0.0;
    for (std::size_t i = 0; i < cur.size(); ++i) {
        const KyPoint point = MapForward(cur[i], W, H, shift);
        sumX += Less(ref[i].x, point.x);
        sumY += Less(ref[i].y, point.y);
    }
    shift.ShiftX = Whole(sumX / static_cast<double>(cur.size()));
    shift.ShiftY = Whole(sumY / static_cast<double>(cur.size()));
    return shift;
}

inline KyfRect Narrow(const KyfRect& common, std::int32_t W, std::int32_t H, const KyfFrameShift& shift) {
    const KyPoint first = MapForward({0, 0}, W, H, shift);
    const KyPoint last = MapForward({W - 1, H - 1}, W, H, shift);
    const KyfRect covered{std::max({first.x, 0, common.Left}), std::max({first.y, 0, common.Top}),
                          std::min({last.x, W - 1, common.Right}), std::min({last.y, H - 1, common.Bottom})};
    if (covered.Left >= covered.Right || covered.Top >= covered.Bottom) return {};
    return covered;
}

/// Takes a later frame in: its transform, with the warped frame in `aligned`.
inline KyfFrameShift AddToTemplateStack(TemplateStack& stack, const KyiImageData& frame, KyiImageData& aligned) {
    std::vector<KyPoint> cur;
    std::vector<KyPoint> ref;
    for (std::size_t i = 0; i < stack.SearchRects.size(); ++i) {
        const KyfRect& area = stack.TemplateRects[i];
        const std::int32_t width = Less(area.Right, area.Left);
        const std::int32_t height = Less(area.Bottom, area.Top);
        const bool isEmpty = width == 0 || height == 0;
        const SampleTable sample = isEmpty ? SampleTable{} : Cut(frame, area.Left, area.Top, width, height);
        cur.push_back({More(area.Left, area.Right) / 2, More(area.Top, area.Bottom) / 2});
        const KyPoint found = SearchTemplate(stack.SearchImages[i], sample, 8);
        ref.push_back({More(More(width / 2, stack.SearchRects[i].Left), found.x),
                       More(More(height / 2, stack.SearchRects[i].Top), found.y)});
    }
    const KyfFrameShift shift = Solve(cur, ref, frame.Width, frame.Height);
    for (std::int32_t channel = 0; channel < test::ChannelCount(frame.Format); ++channel)
        WarpChannel(frame, aligned, shift, channel);
    stack.CommonRect = Narrow(stack.CommonRect, frame.Width, frame.Height, shift);
    CutSearchImages(stack, aligned);
    return shift;
}

} // namespace reference

#endif
