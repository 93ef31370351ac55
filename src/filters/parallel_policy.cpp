#include "filters/filters.h"

#include <omp.h>

namespace kyf {

std::uint32_t g_parallelProcImageSize = 0;

bool UseParallelProcess(const KyiImageData* image, KyiBool parallel) {
    if (parallel == 0) return false;
    if (omp_get_num_procs() < 2) return false;
    if (g_parallelProcImageSize == 0) return true;
    return g_parallelProcImageSize <=
           static_cast<std::uint32_t>(image->Width) * static_cast<std::uint32_t>(image->Height);
}

bool UseBorderedParallel(const KyiImageData& image, std::int32_t border, KyiBool parallel) {
    KyiImageData bordered = image;
    bordered.Width += 2 * border;
    bordered.Height += 2 * border;
    return UseParallelProcess(&bordered, parallel);
}

} // namespace kyf
