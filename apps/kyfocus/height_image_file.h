/// Height images as files: 16-bit gray PNG whose text fields tell how samples turn into heights.
#ifndef KYFOCUS_APP_HEIGHT_IMAGE_FILE_H
#define KYFOCUS_APP_HEIGHT_IMAGE_FILE_H

#include <filesystem>
#include <string>

#include <kyimaging/kyimaging.h>

namespace app {

/// height = Offset + sample * Step, both in Unit.
struct HeightScale {
    double Step = 0.0;
    double Offset = 0.0;
    std::string Unit;
};

/// Writes a 16-bit gray image with the text fields "Height step", "Height offset", "Height unit" and "Description".
/// Throws Failure, naming the file and the reason; a partial file may stay.
void SaveHeightImage(const std::filesystem::path& file, const KyiImageData& image, const HeightScale& scale);

} // namespace app

#endif
