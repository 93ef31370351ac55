/// Shows how far a composition is: a bar that redraws itself on a terminal, plain lines elsewhere.
#ifndef KYFOCUS_APP_PROGRESS_DISPLAY_H
#define KYFOCUS_APP_PROGRESS_DISPLAY_H

#include <cstdio>
#include <string>

#include "stopwatch.h"

namespace app {

enum class ProgressStyle { Auto, Bar, Plain, None };

/// Where a composition stands.
struct ProgressState {
    int FrameCount = 0;
    int FramesAdded = 0;
    int StepPercent = 0;      // of the frame being added, or of the finish
    bool IsFinishing = false; // all frames added: result being made and saved
    double Seconds = 0;       // since the start

    /// Part of the whole that is done, 0 to 1. The finish counts as one frame more.
    double Fraction() const;
};

/// "0:05", "12:34", "1:02:03"; rounded up to whole seconds.
std::string FormatDuration(double seconds);

/// The bar's line, without line ends, at most `columns` characters: frames, bar, frames a second and time left.
std::string FormatBar(const ProgressState& state, int columns);

/// One plain line, without its end.
std::string FormatPlainLine(const ProgressState& state);

/// Takes percents from the progress callbacks of the library and shows them on `stream`.
class ProgressDisplay {
  public:
    /// Auto becomes Bar when the stream is a terminal that can redraw a line, else Plain.
    ProgressDisplay(ProgressStyle style, int frameCount, std::FILE* stream);
    ~ProgressDisplay(); // takes the bar away
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    void ShowFrame(int framesAdded, int percent);
    void ShowFinish(int percent);

  private:
    void Show();
    void DrawBar();
    void PrintPlain();

    ProgressStyle m_style;
    std::FILE* m_stream;
    ProgressState m_state;
    Stopwatch m_stopwatch;
    double m_lastDraw = -1.0; // seconds at the last drawing of the bar; negative: not drawn
    int m_lastTenth = 0;      // tenths of the whole at the last plain line
};

} // namespace app

#endif
