#include "imaging/tiff_handle.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "imaging/image_file.h"

namespace kyi {

namespace {

// Beyond the bytes of the file itself: tables of strips and tiles, decoders.
constexpr std::int64_t kMostMemory = std::int64_t{512} << 20;

// What the tags of a page may share of the file's bytes: writers store equal resolutions once.
constexpr std::uint64_t kMostSharedBytes = std::uint64_t{1} << 20;

struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const noexcept { TIFFOpenOptionsFree(options); }
};

bool StartsWith(const char* text, const char* start) { return std::strncmp(text, start, std::strlen(start)) == 0; }

TiffHandle& Of(thandle_t handle) { return *static_cast<TiffHandle*>(handle); }

} // namespace

TiffHandle::TiffHandle(platform::InputFile& file) : m_input(&file) {
    Open("rm", kMostMemory + static_cast<std::int64_t>(file.Size()));
}

TiffHandle::TiffHandle(platform::FileReplacement& file, bool big) : m_output(&file) { Open(big ? "w8" : "w", 0); }

TiffHandle::~TiffHandle() { Close(); }

bool TiffHandle::Close() noexcept {
    if (!m_tiff) return true;
    const bool written = !m_output || TIFFFlush(m_tiff) != 0;
    TIFFClose(m_tiff);
    m_tiff = nullptr;
    return written && m_text[0] == '\0';
}

void TiffHandle::Open(const char* mode, std::int64_t mostMemory) {
    const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
    if (!options) throw FileError("out of memory");
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), mostMemory);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, this);
    const auto close = [](thandle_t) { return 0; };
    const auto map = [](thandle_t, void**, toff_t*) { return 0; };
    const auto unmap = [](thandle_t, void*, toff_t) {};
    m_isOpening = true;
    m_tiff = TIFFClientOpenExt("TIFF", mode, this, OnRead, OnWrite, OnSeek, close, OnSize, map, unmap, options.get());
    m_isOpening = false;
    if (m_tiff && !m_tagLost) {
        m_text[0] = '\0'; // what libtiff could mend
        return;
    }
    Close();
    Check(false);
}

void TiffHandle::Check(bool succeeded) const {
    if (succeeded && m_text[0] == '\0') return;
    if (m_input && m_input->ErrorNumber() != 0) {
        std::uint8_t byte = 0;
        ReadExactly(*m_input, 0, &byte, 1);
    }
    throw FileError(m_text[0] == '\0' ? std::string("damaged TIFF") : std::string("damaged TIFF: ") + m_text.data());
}

void TiffHandle::Keep(const char* format, va_list values) noexcept {
    if (m_text[0] == '\0') std::vsnprintf(m_text.data(), m_text.size(), format, values);
}

int TiffHandle::OnError(TIFF*, void* handle, const char*, const char* format, va_list values) {
    Of(handle).Keep(format, values);
    return 1; // nothing for the process-wide handler
}

int TiffHandle::OnWarning(TIFF*, void* handle, const char*, const char* format, va_list values) {
    TiffHandle& self = Of(handle);
    // A tag that the file is too short for is left out by libtiff, and the picture becomes another without it.
    if (StartsWith(format, "IO error during reading")) self.m_tagLost = true;
    // Old files pack the bits of LZW codes the other way round, which libtiff knows and mentions.
    const bool guessed = self.m_readsPixels && !StartsWith(format, "Old-style LZW");
    if (self.m_tagLost || guessed) self.Keep(format, values);
    return 1;
}

/// Each tag may be as long as the file, and libtiff keeps them all: a small file would fill the memory. Tells, and has
/// the file refused.
bool TiffHandle::IsPastTags(std::size_t bytes) noexcept {
    m_tagBytes += bytes;
    if (!m_isOpening || !m_input || m_tagBytes <= m_input->Size() + kMostSharedBytes) return false;
    std::snprintf(m_text.data(), m_text.size(), "tags that share their bytes");
    m_tagLost = true;
    return true;
}

tmsize_t TiffHandle::OnRead(thandle_t handle, void* to, tmsize_t bytes) {
    TiffHandle& self = Of(handle);
    if (bytes < 0) return -1;
    const auto count = static_cast<std::size_t>(bytes);
    const std::size_t got = self.m_input ? self.m_input->ReadAt(self.m_position, to, count)
                                         : self.m_output->ReadAt(self.m_position, to, count);
    if (self.IsPastTags(got)) return -1;
    self.m_position += got;
    return static_cast<tmsize_t>(got);
}

tmsize_t TiffHandle::OnWrite(thandle_t handle, void* from, tmsize_t bytes) {
    TiffHandle& self = Of(handle);
    if (!self.m_output || bytes < 0) return -1;
    if (!self.m_output->WriteAt(self.m_position, from, static_cast<std::size_t>(bytes))) return -1;
    self.m_position += static_cast<std::uint64_t>(bytes);
    return bytes;
}

toff_t TiffHandle::OnSeek(thandle_t handle, toff_t offset, int whence) {
    TiffHandle& self = Of(handle);
    if (whence == SEEK_CUR) offset += self.m_position;
    if (whence == SEEK_END) offset += OnSize(handle);
    self.m_position = offset;
    return offset;
}

toff_t TiffHandle::OnSize(thandle_t handle) {
    const TiffHandle& self = Of(handle);
    return self.m_input ? self.m_input->Size() : self.m_output->Size();
}

} // namespace kyi
