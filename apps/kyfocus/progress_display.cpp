#include "progress_display.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace app {
namespace {

constexpr double kSecondsBetweenDraws = 0.1;

bool CanRedraw(std::FILE* stream) {
    const char* const terminal = std::getenv("TERM");
    return isatty(fileno(stream)) && terminal && std::string_view(terminal) != "dumb";
}

int TerminalColumns(std::FILE* stream) {
    constexpr int kUsualColumns = 80;
    winsize size{};
    const bool isKnown = ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : kUsualColumns;
}

std::string FormatRate(const ProgressState& state) {
    if (state.FramesAdded == 0 || state.Seconds <= 0) return "";
    std::array<char, 48> text;
    const int length = std::snprintf(text.data(), text.size(), "%.1f frames/s", state.FramesAdded / state.Seconds);
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string FormatTimeLeft(const ProgressState& state) {
    const double fraction = state.Fraction();
    return fraction <= 0 ? "" : FormatDuration(state.Seconds * (1 - fraction) / fraction) + " left";
}

std::string FormatFrames(const ProgressState& state) {
    const std::string count = std::to_string(state.FrameCount);
    if (state.IsFinishing) return count + (state.FrameCount == 1 ? " frame, finishing" : " frames, finishing");
    const std::string current = std::to_string(std::min(state.FramesAdded + 1, state.FrameCount));
    const std::string blanks(count.size() - std::min(count.size(), current.size()), ' ');
    return std::string("frame ").append(blanks).append(current).append(" of ").append(count);
}

int Percent(const ProgressState& state) { return static_cast<int>(state.Fraction() * 100); }

} // namespace

double ProgressState::Fraction() const {
    const double steps = (IsFinishing ? FrameCount : FramesAdded) + StepPercent / 100.0;
    return std::clamp(steps / (FrameCount + 1), 0.0, 1.0);
}

std::string FormatDuration(double seconds) {
    const long whole = std::lround(std::ceil(std::max(seconds, 0.0)));
    std::array<char, 48> text;
    const int length = whole < 3600 ? std::snprintf(text.data(), text.size(), "%ld:%02ld", whole / 60, whole % 60)
                                    : std::snprintf(text.data(), text.size(), "%ld:%02ld:%02ld", whole / 3600,
                                                    whole / 60 % 60, whole % 60);
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string FormatBar(const ProgressState& state, int columns) {
    constexpr std::size_t kWidestBar = 40;
    constexpr std::size_t kNarrowestBar = 4;
    const std::string left = FormatFrames(state) + " ";
    std::string right = std::to_string(Percent(state)).insert(0, 1, ' ').append(1, '%');
    for (const std::string& part : {FormatRate(state), FormatTimeLeft(state)})
        if (!part.empty()) right.append("  ").append(part);
    const std::size_t room = static_cast<std::size_t>(std::max(columns, 0));
    const std::size_t texts = left.size() + right.size() + 2;
    if (texts + kNarrowestBar > room) return (left + right).substr(0, room);
    const std::size_t width = std::min(room - texts, kWidestBar);
    const std::size_t filled = static_cast<std::size_t>(state.Fraction() * static_cast<double>(width));
    return left + "[" + std::string(filled, '#') + std::string(width - filled, '.') + "]" + right;
}

std::string FormatPlainLine(const ProgressState& state) {
    std::string line = std::to_string(Percent(state)) + "%  " + FormatFrames(state);
    for (const std::string& part : {FormatRate(state), FormatTimeLeft(state)})
        if (!part.empty()) line.append(", ").append(part);
    return line;
}

ProgressDisplay::ProgressDisplay(ProgressStyle style, int frameCount, std::FILE* stream)
    : m_style(style), m_stream(stream) {
    m_state.FrameCount = frameCount;
    if (m_style == ProgressStyle::Auto) m_style = CanRedraw(stream) ? ProgressStyle::Bar : ProgressStyle::Plain;
}

ProgressDisplay::~ProgressDisplay() {
    if (m_lastDraw < 0) return;
    std::fputs("\r\033[K", m_stream);
    std::fflush(m_stream);
}

void ProgressDisplay::ShowFrame(int framesAdded, int percent) {
    m_state.FramesAdded = framesAdded;
    m_state.StepPercent = std::clamp(percent, 0, 100); // a list of stages may read 101 before its node is complete
    Show();
}

void ProgressDisplay::ShowFinish(int percent) {
    m_state.FramesAdded = m_state.FrameCount;
    m_state.IsFinishing = true;
    m_state.StepPercent = std::clamp(percent, 0, 100);
    Show();
}

void ProgressDisplay::Show() {
    m_state.Seconds = m_stopwatch.Seconds();
    if (m_style == ProgressStyle::Bar) DrawBar();
    if (m_style == ProgressStyle::Plain) PrintPlain();
}

void ProgressDisplay::DrawBar() {
    if (m_lastDraw >= 0 && m_state.Seconds - m_lastDraw < kSecondsBetweenDraws) return;
    m_lastDraw = m_state.Seconds;
    const std::string line = FormatBar(m_state, TerminalColumns(m_stream) - 1); // the last column may wrap
    std::fprintf(m_stream, "\r%s\033[K", line.c_str());
    std::fflush(m_stream);
}

void ProgressDisplay::PrintPlain() {
    const int tenth = Percent(m_state) / 10;
    if (tenth <= m_lastTenth) return;
    m_lastTenth = tenth;
    std::fprintf(m_stream, "%s\n", FormatPlainLine(m_state).c_str());
}

} // namespace app
