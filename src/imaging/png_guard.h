/// Errors of libpng: it tells them by a jump out of its calls, which must not skip the end of any object's life.
#ifndef KYFOCUS_IMAGING_PNG_GUARD_H
#define KYFOCUS_IMAGING_PNG_GUARD_H

#include <array>
#include <csetjmp>
#include <cstdio>

#include <png.h>

namespace kyi {

/// Keeps the text of the error that ended a call.
class PngErrors {
  public:
    static void OnError(png_structp png, png_const_charp text) {
        auto* const errors = static_cast<PngErrors*>(png_get_error_ptr(png));
        std::snprintf(errors->m_text.data(), errors->m_text.size(), "damaged PNG: %s", text);
        png_longjmp(png, 1);
    }
    static void OnWarning(png_structp, png_const_charp) {}
    const char* Text() const noexcept { return m_text.data(); }

  private:
    std::array<char, 160> m_text{};
};

/// Calls `work`; false when libpng jumped out of it. `work` makes no object that has to be destroyed. Never inlined:
/// what the caller keeps in its variables would be lost with the jump.
template <typename Work> [[gnu::noinline]] bool TryPng(png_structp png, Work&& work) {
    if (setjmp(png_jmpbuf(png)) != 0) return false; // NOLINT(cert-err52-cpp)
    work();
    return true;
}

} // namespace kyi

#endif
