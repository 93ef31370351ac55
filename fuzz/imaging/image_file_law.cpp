#include "imaging/image_file_law.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>

#include <kyimaging/kyimaging.h>

#include "support/memory_file.h"
#include "support/require.h"
#include "support/scratch_folder.h"

namespace {

constexpr std::size_t kMostBlockBytes = std::size_t{2} << 20;
std::size_t g_mostBlockBytes = std::numeric_limits<std::size_t>::max();
int g_fill = 0;

} // namespace

/// The library takes its pixel blocks by this call, and by its place in the program this one comes before the
/// system's: so it has to be seen from outside.
extern "C" __attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
    void* block = nullptr;
    if (bytes > g_mostBlockBytes || posix_memalign(&block, alignment, bytes) != 0) return nullptr;
    std::memset(block, g_fill, bytes);
    return block;
}

namespace fuzz {
namespace {

struct FreeImage {
    void operator()(KyiImageData* image) const { KyiFreeImageData(image); }
};
using Image = std::unique_ptr<KyiImageData, FreeImage>;

/// Loads into pixels that hold `fill` before.
Image Load(const std::wstring& path, int fill) {
    g_mostBlockBytes = kMostBlockBytes;
    g_fill = fill;
    KyiImageData* image = nullptr;
    const bool isLoaded = KyiLoadImageData(path.c_str(), &image) != 0;
    const bool isSilent = *KyiGetLastFileError() == '\0';
    Require(isLoaded == (image != nullptr), "a load that succeeds gives an image, one that fails gives none");
    Require(isLoaded == isSilent, "a load that fails tells a reason, one that succeeds tells none");
    return Image(image);
}

bool HasSameSamples(const KyiImageData& one, const KyiImageData& other) {
    if (one.Width != other.Width || one.Height != other.Height || one.PixelBytes != other.PixelBytes) return false;
    const std::size_t used = static_cast<std::size_t>(one.Width) * static_cast<std::size_t>(one.PixelBytes);
    for (std::int32_t y = 0; y < one.Height; ++y)
        if (std::memcmp(KyiGetPixelAddress(&one, 0, y), KyiGetPixelAddress(&other, 0, y), used) != 0) return false;
    return true;
}

/// The same but for the unused sample of four-byte pixels, which other files than bitmaps don't hold.
bool ShowsTheSame(const KyiImageData& one, const KyiImageData& other) {
    if (one.Width != other.Width || one.Height != other.Height) return false;
    if (KyiIsFormatBgr(one.Format) != KyiIsFormatBgr(other.Format)) return false;
    std::vector<std::int32_t> row(static_cast<std::size_t>(one.Width));
    std::vector<std::int32_t> otherRow = row;
    for (std::int32_t y = 0; y < one.Height; ++y)
        for (std::int32_t channel = 0; channel < 3; ++channel) {
            KyiGetLinePixel(&one, 0, y, channel, row.data(), one.Width);
            KyiGetLinePixel(&other, 0, y, channel, otherRow.data(), one.Width);
            if (row != otherRow) return false;
        }
    return true;
}

void CheckReload(const std::wstring& path, const KyiImageData& image) {
    const Image over(KyiAllocImageData(image.Width, image.Height, image.Format));
    Require(over != nullptr, "an image of a size that was made once can be made again");
    if (KyiReloadBitmap32(path.c_str(), over.get()))
        Require(HasSameSamples(image, *over), "a bitmap loads over an image as it loads anew");
}

/// @param kind  Chooses the kind of file.
void CheckSaved(const KyiImageData& image, unsigned kind) {
    static const ScratchFolder folder;
    static constexpr const char* kNames[] = {"saved.bmp", "saved.png", "saved.tif"};
    const std::wstring path = (folder.Path() / kNames[kind % std::size(kNames)]).wstring();
    Require(KyiSaveImageData(path.c_str(), &image, 0) != 0, "what was loaded can be saved");
    const Image again = Load(path, 0x77);
    Require(again && ShowsTheSame(image, *again), "what was saved loads again");
}

} // namespace

Bytes WithStart(std::span<const std::uint8_t> input, std::string_view start) {
    Bytes bytes(input.begin(), input.end());
    bytes.resize(std::max(bytes.size(), start.size()));
    std::copy(start.begin(), start.end(), bytes.begin());
    return bytes;
}

void CheckImageFile(const Bytes& bytes) {
    static MemoryFile file;
    file.Set(bytes);
    const Image image = Load(file.WidePath(), 0x55);
    if (!image) return;
    const Image again = Load(file.WidePath(), 0xAA);
    Require(again && HasSameSamples(*image, *again), "every sample comes from the file");
    CheckReload(file.WidePath(), *image);
    // Files on a disk cost more than all else: one small image in eight.
    const unsigned choice = bytes.back();
    if (choice % 8 == 0 && std::int64_t{image->Width} * image->Height <= 4096) CheckSaved(*image, choice / 8);
}

} // namespace fuzz
