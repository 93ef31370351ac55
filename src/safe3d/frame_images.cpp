#include "safe3d/frame_images.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "filters/double_image.h"

namespace kyf {

namespace {

constexpr std::int32_t kGrowth = 256;
/// Of one image: 1 GiB. A system that promises more memory than it has would end the process instead of refusing it.
constexpr std::int64_t kMostSamples = std::int64_t{1} << 27;

bool HasGridSize(const KyfFocusComposition& session, const KyfImageData* image) noexcept {
    return image && image->Width == session.EdgeDataWidth && image->Height == session.EdgeDataHeight;
}

// Both tables are made before either takes its place.
void GrowTables(KyfFocusComposition& session) {
    const std::int32_t oldCapacity = session.EdgeFrames ? session.FrameCapacity : 0;
    const auto capacity = static_cast<std::size_t>(oldCapacity) + kGrowth;
    auto edge = std::make_unique<KyfImageData*[]>(capacity);
    auto kido = std::make_unique<KyfImageData*[]>(capacity);
    if (session.EdgeFrames) {
        std::copy_n(session.EdgeFrames, oldCapacity, edge.get());
        std::copy_n(session.KidoFrames, oldCapacity, kido.get());
    }
    delete[] std::exchange(session.EdgeFrames, edge.release());
    delete[] std::exchange(session.KidoFrames, kido.release());
    session.FrameCapacity = static_cast<std::int32_t>(capacity);
}

// An entry of another size comes from an add that failed before the settings changed.
KyfImageData& MakeEntry(const KyfFocusComposition& session, KyfImageData*& entry) {
    if (!HasGridSize(session, entry)) {
        FreeDoubleImage(std::exchange(entry, nullptr));
        entry = AllocDoubleImage(session.EdgeDataWidth, session.EdgeDataHeight);
    }
    if (!entry) throw std::bad_alloc();
    return *entry;
}

} // namespace

FrameImages MakeFrameImages(KyfFocusComposition& session) {
    if (std::int64_t{session.EdgeDataWidth} * session.EdgeDataHeight > kMostSamples) throw std::bad_alloc();
    const std::int32_t frame = session.State3D.FrameCount;
    if (!session.EdgeFrames || frame >= session.FrameCapacity) GrowTables(session);
    KyfImageData& edge = MakeEntry(session, session.EdgeFrames[frame]);
    return {edge, MakeEntry(session, session.KidoFrames[frame])};
}

bool HasAllFrameImages(const KyfFocusComposition& session) noexcept {
    const std::int32_t count = session.State3D.FrameCount;
    if (count < 1 || !session.EdgeFrames || !session.KidoFrames) return false;
    const auto hasGridSize = [&](const KyfImageData* image) { return HasGridSize(session, image); };
    return std::all_of(session.EdgeFrames, session.EdgeFrames + count, hasGridSize) &&
           std::all_of(session.KidoFrames, session.KidoFrames + count, hasGridSize);
}

} // namespace kyf
