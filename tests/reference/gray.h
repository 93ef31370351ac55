/// Gray of a colour by its weights, in whole numbers.
#ifndef KYFOCUS_TESTS_REFERENCE_GRAY_H
#define KYFOCUS_TESTS_REFERENCE_GRAY_H

#include <cstdint>

namespace reference {

inline std::int64_t Gray(std::int64_t red, std::int64_t green, std::int64_t blue) {
    return (299 * red + 587 * green + 114 * blue + 500) / 1000;
}

} // namespace reference

#endif
