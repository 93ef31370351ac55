/// Seconds since an object was made.
#ifndef KYFOCUS_APP_STOPWATCH_H
#define KYFOCUS_APP_STOPWATCH_H

#include <chrono>

namespace app {

class Stopwatch {
  public:
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_start = Clock::now();
};

} // namespace app

#endif
