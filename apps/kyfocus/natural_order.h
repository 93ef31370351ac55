/// Order of names as people count: frame_2 before frame_10.
#ifndef KYFOCUS_APP_NATURAL_ORDER_H
#define KYFOCUS_APP_NATURAL_ORDER_H

#include <string_view>

namespace app {

/// Whether `first` stands before `second`: runs of digits compare as numbers of any length, other characters without
/// case. Names that are equal so far, such as a1 and a01 or a and A, stand in the order of their bytes.
bool NaturalLess(std::string_view first, std::string_view second);

} // namespace app

#endif
