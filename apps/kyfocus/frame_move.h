/// Whether the library moves frames to line them up, and how far it has moved one.
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

/// Whether frames move at all. @param settings  The settings of a composition, or a session.
template <typename Settings> bool LinesFramesUp(const Settings& settings) {
    return settings.ScopeType == 1 || settings.ScopeType == 3 || (settings.ScopeType == 0 && settings.AutoPos != 0);
}

} // namespace app

#endif
