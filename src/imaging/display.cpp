#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include <kyimaging/kyimaging.h>

double KyiGetWindowScalingDisplayMagnificationValue(void) {
    const char* const text = std::getenv("KYI_DISPLAY_SCALE");
    if (!text) return 1.0;
    double scale = 0.0;
    const char* const end = text + std::strlen(text);
    const auto [stopped, error] = std::from_chars(text, end, scale); // whatever the locale of the host
    return error == std::errc{} && stopped == end && std::isfinite(scale) && scale > 0.0 ? scale : 1.0;
}
