#include "imaging/bitmap_header.h"

#include <limits>

#include "imaging/formats.h"

namespace kyi {

namespace {

constexpr std::uint32_t kFileHeaderBytes = 14;
constexpr std::uint32_t kCoreHeaderBytes = 12;
constexpr std::uint32_t kInfoHeaderBytes = 40;
constexpr std::uint32_t kMasksOffset = kFileHeaderBytes + kInfoHeaderBytes;
constexpr std::uint32_t kBlockFormatOffset = kFileHeaderBytes + kInfoHeaderBytes;
// Longest header that is read: file header, 40 bytes, then masks or the fields of a block.
constexpr std::size_t kReadBytes = kMasksOffset + 12;

using Bytes = std::array<std::uint8_t, kReadBytes>;

std::uint32_t Get16(const Bytes& bytes, std::size_t at) { return bytes[at] | (std::uint32_t{bytes[at + 1]} << 8); }
std::uint32_t Get32(const Bytes& bytes, std::size_t at) { return Get16(bytes, at) | (Get16(bytes, at + 2) << 16); }
std::int32_t GetSigned(const Bytes& bytes, std::size_t at) { return static_cast<std::int32_t>(Get32(bytes, at)); }

void Require(bool sound) {
    if (!sound) throw FileError("the bitmap's header is damaged");
}

bool IsInfoHeaderSize(std::uint32_t bytes) {
    return bytes == kInfoHeaderBytes || bytes == 52 || bytes == 56 || bytes == 64 || bytes == 108 || bytes == 124;
}

void SetHeight(BitmapHeader& header, std::int64_t height) {
    header.TopDown = height < 0;
    CheckImageSize(header.Width, header.TopDown ? -height : height, 6);
    header.Height = static_cast<std::int32_t>(header.TopDown ? -height : height);
}

void ReadCoreHeader(const Bytes& bytes, BitmapHeader& header) {
    header.Width = static_cast<std::int32_t>(Get16(bytes, 18));
    SetHeight(header, Get16(bytes, 20));
    header.Bits = static_cast<int>(Get16(bytes, 24));
    Require(header.Bits == 1 || header.Bits == 4 || header.Bits == 8 || header.Bits == 24);
}

void ReadMasks(const Bytes& bytes, BitmapHeader& header) {
    for (std::size_t i = 0; i < 3; ++i) header.Masks[i] = Get32(bytes, kMasksOffset + 4 * i);
    const std::uint32_t all = header.Masks[0] | header.Masks[1] | header.Masks[2];
    Require(all != 0 && (header.Bits == 32 || all <= 0xffff));
}

void ReadInfoHeader(const Bytes& bytes, std::uint32_t headerBytes, BitmapHeader& header) {
    header.Width = GetSigned(bytes, 18);
    SetHeight(header, GetSigned(bytes, 22));
    header.Bits = static_cast<int>(Get16(bytes, 28));
    const std::uint32_t compression = Get32(bytes, 30);
    header.Compression = static_cast<BitmapCompression>(compression);
    const int bits = header.Bits;
    switch (header.Compression) {
    case BitmapCompression::None:
        Require(bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32);
        if (bits == 16) header.Masks = {0x7c00, 0x03e0, 0x001f};
        if (bits == 32) header.Masks = {0xff0000, 0xff00, 0xff};
        return;
    case BitmapCompression::Rle8: return Require(bits == 8 && !header.TopDown);
    case BitmapCompression::Rle4: return Require(bits == 4 && !header.TopDown);
    case BitmapCompression::BitFields:
    case BitmapCompression::AlphaBitFields:
        // The same number stands for another compression in the header of 64 bytes.
        Require(headerBytes != 64 && (bits == 16 || bits == 32));
        return ReadMasks(bytes, header);
    case BitmapCompression::Block:
        header.BlockFormat = GetSigned(bytes, kBlockFormatOffset);
        return Require(headerBytes == kInfoHeaderBytes && !header.TopDown && bits > 0 &&
                       FindFormat(header.BlockFormat).PixelBytes * 8 == bits);
    }
    throw FileError("bitmaps of compression " + std::to_string(compression) + " are not read");
}

void FindPalette(const Bytes& bytes, std::uint32_t headerBytes, BitmapHeader& header) {
    if (header.Bits > 8 || header.Compression == BitmapCompression::Block) return;
    const bool core = headerBytes == kCoreHeaderBytes;
    const std::uint32_t most = 1u << header.Bits;
    header.PaletteOffset = kFileHeaderBytes + headerBytes;
    header.PaletteEntryBytes = core ? 3 : 4;
    const std::uint32_t told = core ? 0 : Get32(bytes, 46);
    Require(told <= 256);
    header.PaletteEntries = told == 0 ? most : std::min(told, most);
    // Files without a told number may have fewer entries than the bits allow.
    const std::uint64_t room = (header.PixelOffset - header.PaletteOffset) / header.PaletteEntryBytes;
    Require(told <= room);
    header.PaletteEntries = static_cast<std::uint32_t>(std::min<std::uint64_t>(header.PaletteEntries, room));
    Require(header.PaletteEntries > 0);
}

void Put(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint64_t value, int count = 4) {
    for (int i = 0; i < count; ++i)
        bytes[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value >> (8 * i));
}

// A field of 32 bits that says 0 where the number does not fit; no reader of ours asks for it.
std::uint64_t OrZero(std::uint64_t value) { return value <= std::numeric_limits<std::uint32_t>::max() ? value : 0; }

} // namespace

BitmapHeader ReadBitmapHeader(platform::InputFile& file) {
    Bytes bytes{};
    const std::size_t got = file.ReadAt(0, bytes.data(), bytes.size());
    if (file.ErrorNumber() != 0) ReadExactly(file, 0, bytes.data(), bytes.size());
    const std::uint32_t headerBytes = Get32(bytes, 14);
    const bool core = headerBytes == kCoreHeaderBytes;
    if (got < kFileHeaderBytes + kCoreHeaderBytes || (!core && got < kMasksOffset))
        throw FileError("the file is truncated");
    Require(core || IsInfoHeaderSize(headerBytes));
    BitmapHeader header;
    header.PixelOffset = Get32(bytes, 10);
    Require(header.PixelOffset >= kFileHeaderBytes + headerBytes);
    if (header.PixelOffset >= file.Size()) throw FileError("the file is truncated");
    if (core)
        ReadCoreHeader(bytes, header);
    else
        ReadInfoHeader(bytes, headerBytes, header);
    FindPalette(bytes, headerBytes, header);
    return header;
}

std::vector<std::uint8_t> MakeBitmapHeader(const KyiImageData& image) {
    const bool gray = image.Format == KyiFormatGray8;
    const bool block = !gray && image.Format != KyiFormatBgr24;
    const std::uint32_t headBytes = block ? kBlockPixelOffset : kMasksOffset + (gray ? 1024u : 0u);
    const std::uint32_t pixelOffset = (headBytes + kPixelAlignment - 1) / kPixelAlignment * kPixelAlignment;
    std::vector<std::uint8_t> bytes(pixelOffset);
    bytes[0] = 'B';
    bytes[1] = 'M';
    Put(bytes, 2, OrZero(pixelOffset + std::uint64_t{PixelBlockBytes(image)}));
    Put(bytes, 10, pixelOffset);
    Put(bytes, 14, kInfoHeaderBytes);
    Put(bytes, 18, static_cast<std::uint32_t>(image.Width));
    Put(bytes, 22, static_cast<std::uint32_t>(image.Height));
    Put(bytes, 26, 1, 2);
    Put(bytes, 28, static_cast<std::uint32_t>(8 * image.PixelBytes), 2);
    Put(bytes, 30, block ? static_cast<std::uint32_t>(BitmapCompression::Block) : 0);
    Put(bytes, 34, OrZero(PixelBlockBytes(image)));
    Put(bytes, 46, gray ? 256 : 0);
    if (block) Put(bytes, kBlockFormatOffset, static_cast<std::uint32_t>(image.Format));
    for (std::size_t i = 0; gray && i < 256; ++i) Put(bytes, kMasksOffset + 4 * i, i * 0x010101u);
    return bytes;
}

} // namespace kyi
