/// Gaussian fits side by side: eight windows of one length go through the same steps at a time, and a lane whose fit
/// has ended takes the next window. Every fit does the arithmetic of FitLevenbergMarquardt in its order.
#ifndef KYFOCUS_SAFE3D_GAUSS_LANES_H
#define KYFOCUS_SAFE3D_GAUSS_LANES_H

#include <cstdint>

#include "filters/scratch.h"
#include "safe3d/double_lanes.h"
#include "safe3d/gaussian_fit.h"

namespace kyf {

struct GaussOutcome {
    FitResult Result;
    double Amplitude; ///< only of a fit that converged
};

class GaussLanes {
  public:
    /// For windows of `samples` samples. Throws std::bad_alloc.
    explicit GaussLanes(std::int32_t samples);

    /// Fits `count` windows, which lie one after the other.
    void Fit(const double* windows, const FitParameters* starts, std::int32_t count, GaussOutcome* outcomes);

    /// What the kernels share. A lane is one fit.
    struct State {
        DoubleLanes Parameters[kMaxFitParameters]; ///< best so far
        DoubleLanes Trial[kMaxFitParameters];
        DoubleLanes Beta[kMaxFitParameters];
        DoubleLanes Alpha[6]; ///< upper triangle by rows
        DoubleLanes Lambda;
        DoubleLanes Current;
        DoubleLanes Previous;
        LaneMask HasMoved; ///< Beta and Alpha are to be made anew
        LaneMask HasZeroPivot;
    };

  private:
    void Begin(int lane, const double* window, const FitParameters& start);
    bool HasEnded(int lane) const;
    void TakeExponentials();

    State m_state{};                     // first: it begins at a cache line
    Scratch<DoubleLanes> m_data;         ///< sample after sample
    Scratch<DoubleLanes> m_exponentials; ///< first their arguments
    Scratch<DoubleLanes> m_residuals;
    std::int32_t m_samples;
    std::int32_t m_job[kDoubleLanes]{};  ///< window of a lane, or -1
    std::int32_t m_step[kDoubleLanes]{}; ///< steps that its fit has taken
};

} // namespace kyf

#endif
