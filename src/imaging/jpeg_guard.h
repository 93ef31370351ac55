/// Errors of libjpeg: it tells them by a call that must not return, which here jumps; see png_guard.h.
#ifndef KYFOCUS_IMAGING_JPEG_GUARD_H
#define KYFOCUS_IMAGING_JPEG_GUARD_H

#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdio>

// These need <cstdio> and <cstddef> before them.
#include <jerror.h>
#include <jpeglib.h>

namespace kyi {

/// Error manager of one compressor or decompressor. Warnings about the picture's data count as errors.
class JpegErrors {
  public:
    jpeg_error_mgr* Install() noexcept {
        jpeg_std_error(&m_manager);
        m_manager.error_exit = OnError;
        m_manager.emit_message = OnMessage;
        m_manager.output_message = [](j_common_ptr) {};
        return &m_manager;
    }
    const char* Text() const noexcept { return m_text.data(); }

    /// Calls `work`; false when libjpeg jumped out of it. `work` makes no object that has to be destroyed.
    template <typename Work> [[gnu::noinline]] bool Try(Work&& work) {
        if (setjmp(m_back) != 0) return false; // NOLINT(cert-err52-cpp)
        work();
        return true;
    }

    /// Ends the running Try.
    [[noreturn]] void Fail(const char* text) {
        std::snprintf(m_text.data(), m_text.size(), "%s", text);
        std::longjmp(m_back, 1); // NOLINT(cert-err52-cpp)
    }

  private:
    [[noreturn]] static void OnError(j_common_ptr codec) {
        auto* const errors = reinterpret_cast<JpegErrors*>(codec->err); // the manager is the first member
        std::array<char, JMSG_LENGTH_MAX> message{};
        codec->err->format_message(codec, message.data());
        std::array<char, JMSG_LENGTH_MAX + 16> text{};
        std::snprintf(text.data(), text.size(), "damaged JPEG: %s", message.data());
        errors->Fail(text.data());
    }

    static void OnMessage(j_common_ptr codec, int level) {
        if (level >= 0) return;
        switch (codec->err->msg_code) {
        case JWRN_EXTRANEOUS_DATA: // bytes between two markers
        case JWRN_ADOBE_XFORM:
        case JWRN_JFIF_MAJOR:
        case JWRN_TOO_MUCH_DATA:
        case JWRN_BOGUS_PROGRESSION: return;
        default: OnError(codec);
        }
    }

    jpeg_error_mgr m_manager{};
    std::jmp_buf m_back{};
    std::array<char, JMSG_LENGTH_MAX + 16> m_text{};
};

} // namespace kyi

#endif
