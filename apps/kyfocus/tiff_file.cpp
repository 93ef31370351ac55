#include "tiff_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace app {
namespace {

// What the tags of a page may share of the file's bytes: writers store equal resolutions once.
constexpr std::uint64_t kMostSharedBytes = std::uint64_t{1} << 20;

// Of one block of memory, beyond the bytes of the file itself: tables of strips, decoders.
constexpr std::uint64_t kMostMemory = std::uint64_t{512} << 20;

struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

int DropMessage(TIFF*, void*, const char*, const char*, va_list) { return 1; }

} // namespace

TiffFile::TiffFile(const std::filesystem::path& file, For use) {
    errno = 0;
    if (use == For::Reading && !OpenInput(file)) return;
    Open(file, use);
}

TiffFile::~TiffFile() {
    m_tiff.reset();
    if (m_input >= 0) close(m_input);
}

bool TiffFile::OpenInput(const std::filesystem::path& file) {
    m_input = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); // a pipe would wait for its writer
    struct stat state {};
    if (m_input < 0 || fstat(m_input, &state) != 0) {
        m_reason = std::string("cannot be opened: ") + std::strerror(errno);
        return false;
    }
    if (!S_ISREG(state.st_mode)) {
        m_reason = S_ISDIR(state.st_mode) ? "is a folder" : "is not a file";
        return false;
    }
    m_length = static_cast<std::uint64_t>(state.st_size);
    return true;
}

void TiffFile::Open(const std::filesystem::path& file, For use) {
    const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
    if (!options) throw std::bad_alloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), DropMessage, nullptr);
    if (use == For::Writing) {
        m_tiff.reset(TIFFOpenExt(file.c_str(), "w", options.get()));
        return;
    }
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(kMostMemory + m_length));
    const auto write = [](thandle_t, void*, tmsize_t) -> tmsize_t { return -1; };
    const auto close = [](thandle_t) { return 0; };
    const auto map = [](thandle_t, void**, toff_t*) { return 0; };
    const auto unmap = [](thandle_t, void*, toff_t) {};
    m_isOpening = true;
    m_tiff.reset(
        TIFFClientOpenExt("TIFF", "rm", this, OnRead, write, OnSeek, close, OnSize, map, unmap, options.get()));
    m_isOpening = false;
    if (m_isTagLost) m_tiff.reset(); // it is another file without the tag, or one that libtiff has made up for
}

int TiffFile::OnError(TIFF*, void* self, const char*, const char* format, va_list values) {
    std::string& reason = static_cast<TiffFile*>(self)->m_reason;
    if (!reason.empty()) return 1;
    const int error = errno; // 0 at the start: the system's part in it, if any
    char text[400];
    std::vsnprintf(text, sizeof text, format, values);
    reason = text;
    if (error != 0) reason.append(": ").append(std::strerror(error));
    return 1;
}

tmsize_t TiffFile::OnRead(thandle_t self, void* to, tmsize_t bytes) {
    auto& file = *static_cast<TiffFile*>(self);
    tmsize_t done = 0;
    while (done < bytes) {
        const ssize_t got = pread(file.m_input, static_cast<char*>(to) + done, static_cast<std::size_t>(bytes - done),
                                  static_cast<off_t>(file.m_position));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) file.LoseTag(std::string("cannot be read: ") + std::strerror(errno));
        if (got <= 0) break;
        done += got;
        file.m_position += static_cast<std::uint64_t>(got);
    }
    if (!file.m_isOpening) return done;
    // Each tag may be as long as the file, and libtiff keeps them all: a small file would fill the memory.
    file.m_tagBytes += static_cast<std::uint64_t>(done);
    if (file.m_tagBytes <= file.m_length + kMostSharedBytes) return done;
    file.LoseTag("damaged: tags that share their bytes");
    return -1;
}

void TiffFile::LoseTag(const std::string& reason) {
    if (!m_isOpening) return; // libtiff tells of pixels itself
    m_isTagLost = true;
    if (m_reason.empty()) m_reason = reason;
}

toff_t TiffFile::OnSeek(thandle_t self, toff_t offset, int whence) {
    auto& file = *static_cast<TiffFile*>(self);
    if (whence == SEEK_CUR) offset += file.m_position;
    if (whence == SEEK_END) offset += file.m_length;
    return file.m_position = offset;
}

toff_t TiffFile::OnSize(thandle_t self) { return static_cast<TiffFile*>(self)->m_length; }

} // namespace app
