/// Frames on disk: one bitmap a frame in the session's temporary folder, readable for its owner only.
#ifndef KYFOCUS_SAFE3D_TEMP_FRAMES_H
#define KYFOCUS_SAFE3D_TEMP_FRAMES_H

#include <cstdint>

#include <kyfocus/session.h>

#include "filters/image_layout.h"

namespace kyf {

/// Writes frame number State3D.FrameCount to the temporary folder, which is made when it is missing, and enters its
/// path into TempFileMap. @return 1; -4 when folder or file cannot be made. Throws std::bad_alloc.
KyfResult SaveTempFrame(KyfFocusComposition& session, const KyiImageData& frame);

/// Reads a frame back; null when its file is gone or damaged, or a link has taken its place. Does not throw: frames are
/// read inside parallel regions.
/// @param spare  A frame that is no longer needed, or null: its memory is taken where it fits, which saves the system
///               from clearing new pages.
ImagePtr LoadTempFrame(const KyfFocusComposition& session, std::int32_t index, ImagePtr spare = nullptr) noexcept;

} // namespace kyf

#endif
