/// Height maps as pictures for people: false colours, with a colour bar that tells heights and unit.
#ifndef KYFOCUS_APP_HEIGHT_PICTURE_H
#define KYFOCUS_APP_HEIGHT_PICTURE_H

#include <string>
#include <vector>

#include "height_map_file.h"
#include "images.h"

namespace app {

/// A mark of the colour bar.
struct Tick {
    double Value;
    std::string Label;
};

/// Even marks inside a range, three to nine of them, at multiples of 1, 2 or 5 times a power of ten. The labels have a
/// decimal point and as many digits as tell them apart.
std::vector<Tick> TicksOf(double least, double greatest);

/// The map in its own size, one pixel a height, on white, with the bar to its right. The bar runs from the least to the
/// greatest height; holes are gray. Throws Failure when out of memory.
Image RenderHeightPicture(const HeightMap& map, const std::string& unit);

} // namespace app

#endif
