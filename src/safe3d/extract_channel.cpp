#include "safe3d/extract_channel.h"

#include <cstddef>
#include <cstdint>

#include "filters/image_layout.h"
#include "filters/sample_rows.h"
#include "platform/simd.h"

namespace kyf {

namespace {

template <int Stride, typename T> KY_ALWAYS_INLINE void TakeEvery(const T* in, double* out, std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) out[x] = static_cast<double>(in[std::ptrdiff_t{x} * Stride]);
}

KY_SIMD_CLONES void TakeRow8(const std::uint8_t* in, int stride, double* out, std::int32_t width) {
    if (stride == 1) return TakeEvery<1>(in, out, width);
    if (stride == 3) return TakeEvery<3>(in, out, width);
    TakeEvery<4>(in, out, width);
}

KY_SIMD_CLONES void TakeRow16(const std::uint16_t* in, int stride, double* out, std::int32_t width) {
    if (stride == 1) return TakeEvery<1>(in, out, width);
    TakeEvery<3>(in, out, width);
}

template <typename T, typename Kernel>
void TakeRows(const KyiImageData& source, KyfImageData& destination, KyiBool parallel, Kernel kernel) {
    const SampleRows<const T> rows(source);
    const int stride = SampleStride(source.PixelBytes);
    const int offset = KyiIsFormatBgr(source.Format) ? stride - 2 : 0;
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 0; y < source.Height; ++y)
        kernel(rows[y] + offset, stride, destination.Rows[y], source.Width);
}

} // namespace

void ExtractChannel(const KyiImageData& source, KyfImageData& destination, KyiBool parallel) {
    switch (SampleBytes(source.PixelBytes)) {
    case 1: return TakeRows<std::uint8_t>(source, destination, parallel, TakeRow8);
    case 2: return TakeRows<std::uint16_t>(source, destination, parallel, TakeRow16);
    default: return;
    }
}

} // namespace kyf
