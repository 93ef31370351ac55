/// Brings an exception out of a parallel region, where leaving it would end the program.
#ifndef KYFOCUS_APP_CARRIED_EXCEPTION_H
#define KYFOCUS_APP_CARRIED_EXCEPTION_H

#include <atomic>
#include <exception>

namespace app {

/// For the threads of one region; Rethrow goes behind it.
class CarriedException {
  public:
    /// Does the step, unless an earlier one has failed.
    template <typename Step> void Guard(const Step& step) noexcept {
        if (m_hasFailed.load(std::memory_order_relaxed)) return;
        try {
            step();
        } catch (...) {
            if (!m_hasFailed.exchange(true)) m_first = std::current_exception();
        }
    }

    void Rethrow() const {
        if (m_first) std::rethrow_exception(m_first);
    }

  private:
    std::atomic<bool> m_hasFailed{false};
    std::exception_ptr m_first;
};

} // namespace app

#endif
