/// Choice of the frame that is sharpest at each pixel, in its plain form.
#ifndef KYFOCUS_TESTS_REFERENCE_SELECTION_H
#define KYFOCUS_TESTS_REFERENCE_SELECTION_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace reference {

/// The tables of a stack, row by row.
struct SelectionTables {
    std::vector<std::int32_t> BestFocus;
    std::vector<std::int32_t> BestFrame;
    std::vector<double> Mask; ///< 1 where the frame in hand won, else 0
};

/// A pixel goes to the frame when its focus value is strictly above the best so far.
inline void Select(const std::vector<std::int32_t>& focus, std::int32_t frame, SelectionTables& tables) {
    for (std::size_t i = 0; i < focus.size(); ++i) {
        if (tables.BestFocus[i] < focus[i]) {
            tables.BestFocus[i] = focus[i];
            tables.BestFrame[i] = frame;
            tables.Mask[i] = 1.0;
        } else {
            tables.Mask[i] = 0.0;
        }
    }
}

} // namespace reference

#endif
