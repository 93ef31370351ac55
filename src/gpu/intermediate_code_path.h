/// Where compiled GPU programs are kept between processes.
#ifndef KYFOCUS_GPU_INTERMEDIATE_CODE_PATH_H
#define KYFOCUS_GPU_INTERMEDIATE_CODE_PATH_H

#include <cstddef>

namespace kyf {

/// Characters of the folder with the terminator.
constexpr std::size_t kIntermediateCodePathCapacity = 260;

/// The folder in force. Starts as the user's cache folder when it is first asked for or set; empty where the user has
/// none. A plain variable: a host sets it before work starts. Throws std::bad_alloc.
const wchar_t* IntermediateCodePath();

/// Takes another folder, cut to the capacity. Throws std::bad_alloc.
void SetIntermediateCodePath(const wchar_t* path);

} // namespace kyf

#endif
