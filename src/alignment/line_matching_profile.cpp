#include "alignment/line_matching_profile.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

#include "filters/scratch.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::int32_t kRowsPerStrip = 8;

KY_SIMD_CLONES void AddRow8(const std::uint8_t* row, std::uint32_t* sums, std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) sums[x] += row[x];
}

KY_SIMD_CLONES void AddRow16(const std::uint16_t* row, std::uint32_t* sums, std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) sums[x] += row[x];
}

void AddImageRow(const KyiImageData& gray, std::int32_t y, std::uint32_t* sums) noexcept {
    const void* const row = KyiGetPixelAddress(&gray, 0, y);
    if (gray.PixelBytes == 2)
        AddRow16(static_cast<const std::uint16_t*>(row), sums, gray.Width);
    else
        AddRow8(static_cast<const std::uint8_t*>(row), sums, gray.Width);
}

ImagePtr NewStrip(const KyiImageData& image, std::int32_t format) {
    ImagePtr strip(KyiAllocImageData(image.Width, kRowsPerStrip, format));
    if (!strip) throw std::bad_alloc();
    return strip;
}

std::int32_t NearestRow(const KyiImageData& image, std::int32_t y) noexcept {
    return std::clamp(y, 0, image.Height - 1);
}

} // namespace

BandReader::BandReader(const KyiImageData& image, ProfileSource source, std::size_t bands, KyiBool parallel)
    : m_image(image), m_isFirstChannel(source == ProfileSource::FirstChannel && KyiIsFormatBgr(image.Format)),
      m_slices(std::min(bands, static_cast<std::size_t>(MostChunks(parallel != 0)))) {
    for (Slice& slice : m_slices) {
        slice.Sums.resize(static_cast<std::size_t>(image.Width));
        if (m_isFirstChannel) slice.Line.resize(static_cast<std::size_t>(image.Width));
        if (m_isFirstChannel || KyiIsFormatGrayscale(image.Format)) continue;
        slice.Colour = NewStrip(image, image.Format);
        slice.Gray = NewStrip(image, GrayPartnerFormat(image.Format));
    }
}

// The strip is turned to gray whole: rows that it has to spare repeat the last one.
void BandReader::AddGrayRows(Slice& slice, std::int32_t top, std::int32_t bottom) const noexcept {
    const auto bytes = static_cast<std::size_t>(m_image.Width) * static_cast<std::size_t>(m_image.PixelBytes);
    for (std::int32_t i = 0; i < kRowsPerStrip; ++i)
        std::memcpy(KyiGetPixelAddress(slice.Colour.get(), 0, i),
                    KyiGetPixelAddress(&m_image, 0, NearestRow(m_image, std::min(top + i, bottom - 1))), bytes);
    KyiTransformToGray(slice.Colour.get(), slice.Gray.get(), 0);
    for (std::int32_t i = 0; i < bottom - top; ++i) AddImageRow(*slice.Gray, i, slice.Sums.data());
}

void BandReader::AddRows(Slice& slice, std::int32_t top, std::int32_t bottom) const noexcept {
    if (slice.Gray) return AddGrayRows(slice, top, bottom);
    for (std::int32_t y = top; y < bottom; ++y) {
        if (!m_isFirstChannel) {
            AddImageRow(m_image, NearestRow(m_image, y), slice.Sums.data());
            continue;
        }
        KyiGetLinePixel(&m_image, 0, y, /*channel=*/0, slice.Line.data(), m_image.Width);
        for (std::size_t x = 0; x < slice.Line.size(); ++x) slice.Sums[x] += static_cast<std::uint32_t>(slice.Line[x]);
    }
}

void BandReader::ReadBand(Slice& slice, Band band, std::int32_t* profile) const noexcept {
    const std::int32_t first = band.CentreRow - band.Height / 2;
    std::fill(slice.Sums.begin(), slice.Sums.end(), 0u);
    for (std::int32_t i = 0; i < band.Height; i += kRowsPerStrip)
        AddRows(slice, first + i, first + std::min(i + kRowsPerStrip, band.Height));
    for (std::size_t x = 0; x < slice.Sums.size(); ++x)
        profile[x] = static_cast<std::int32_t>(slice.Sums[x]) / band.Height;
}

void BandReader::Read(std::span<const Band> bands, std::int32_t* const* profiles) noexcept {
    const auto share =
        WorkShare::Within(static_cast<std::int32_t>(bands.size()), static_cast<std::int32_t>(m_slices.size()));
#pragma omp parallel for schedule(static) if (share.Chunks > 1)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        for (std::int32_t i = share.First(chunk); i < share.Last(chunk); ++i)
            ReadBand(m_slices[static_cast<std::size_t>(chunk)], bands[static_cast<std::size_t>(i)], profiles[i]);
}

} // namespace kyf
