/// How the library has moved a frame to line it up.
#ifndef KYFOCUS_APP_FRAME_MOVE_H
#define KYFOCUS_APP_FRAME_MOVE_H

namespace app {

/// Right and down, in pixels, after a magnification about the centre.
struct FrameMove {
    int X = 0;
    int Y = 0;
    double ScaleX = 1.0;
    double ScaleY = 1.0;
};

} // namespace app

#endif
