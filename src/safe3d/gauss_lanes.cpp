#include "safe3d/gauss_lanes.h"

#include <algorithm>
#include <cmath>

namespace kyf {

namespace {

using State = GaussLanes::State;

/// Rows of the linear system, the right-hand side last.
struct System {
    DoubleLanes Rows[3][4];
};

// Gradient and normal matrix where the parameters are new, from the exponentials and residuals taken there.
KY_ALWAYS_INLINE void Build(State& state, const DoubleLanes* exponentials, const DoubleLanes* residuals,
                            std::int32_t samples) {
    const DoubleLanes p0 = state.Parameters[0];
    const DoubleLanes p1 = state.Parameters[1];
    DoubleLanes beta[3]{};
    DoubleLanes alpha[6]{};
    for (std::int32_t i = 0; i < samples; ++i) {
        const DoubleLanes distance = static_cast<double>(i) - state.Parameters[2];
        const DoubleLanes g0 = exponentials[i];
        const DoubleLanes g1 = -(g0 * p0 * distance * distance);
        const DoubleLanes g2 = (g0 * p0 + g0 * p0) * p1 * distance;
        beta[0] -= residuals[i] * g0;
        beta[1] -= residuals[i] * g1;
        beta[2] -= residuals[i] * g2;
        alpha[0] += g0 * g0;
        alpha[1] += g0 * g1;
        alpha[2] += g0 * g2;
        alpha[3] += g1 * g1;
        alpha[4] += g1 * g2;
        alpha[5] += g2 * g2;
    }
    for (int j = 0; j < 3; ++j) PutWhere(state.HasMoved, beta[j], state.Beta[j]);
    for (int j = 0; j < 6; ++j) PutWhere(state.HasMoved, alpha[j], state.Alpha[j]);
}

KY_ALWAYS_INLINE void SwapRows(System& system, const LaneMask& where, int first, int second, int from) {
    for (int j = from; j < 4; ++j) {
        const DoubleLanes before = system.Rows[first][j];
        PutWhere(where, system.Rows[second][j], system.Rows[first][j]);
        PutWhere(where, before, system.Rows[second][j]);
    }
}

KY_ALWAYS_INLINE void Eliminate(System& system, int row, int pivot) {
    const DoubleLanes factor = system.Rows[row][pivot] / system.Rows[pivot][pivot];
    for (int j = pivot + 1; j < 4; ++j) system.Rows[row][j] -= factor * system.Rows[pivot][j];
}

KY_ALWAYS_INLINE void WhereExceeds(const DoubleLanes& entry, const DoubleLanes& diagonal, LaneMask& mask) {
    DoubleLanes a;
    DoubleLanes b;
    TakeMagnitude(entry, a);
    TakeMagnitude(diagonal, b);
    mask = a > b;
}

KY_ALWAYS_INLINE void AddZeroPivots(const DoubleLanes& pivot, LaneMask& mask) {
    DoubleLanes magnitude;
    TakeMagnitude(pivot, magnitude);
    mask |= magnitude <= kLeastPivot;
}

// As SolveLinear, for three unknowns. The pivot is the last row that exceeds the diagonal.
KY_ALWAYS_INLINE void Solve(System& system, DoubleLanes* solution, LaneMask& hasZeroPivot) {
    auto& rows = system.Rows;
    LaneMask second;
    LaneMask third;
    WhereExceeds(rows[1][0], rows[0][0], second);
    WhereExceeds(rows[2][0], rows[0][0], third);
    SwapRows(system, third, 0, 2, 0);
    SwapRows(system, second & ~third, 0, 1, 0);
    Eliminate(system, 1, 0);
    Eliminate(system, 2, 0);
    WhereExceeds(rows[2][1], rows[1][1], third);
    SwapRows(system, third, 1, 2, 1);
    Eliminate(system, 2, 1);
    const DoubleLanes zero{};
    solution[2] = (rows[2][3] - zero) / rows[2][2];
    solution[1] = (rows[1][3] - (zero + rows[1][2] * solution[2])) / rows[1][1];
    solution[0] = (rows[0][3] - (zero + rows[0][1] * solution[1] + rows[0][2] * solution[2])) / rows[0][0];
    hasZeroPivot = LaneMask{};
    for (int k = 0; k < 3; ++k) AddZeroPivots(rows[k][k], hasZeroPivot);
}

// The next trial of every lane, and the arguments of its exponentials.
KY_SIMD_CLONES void MakeTrial(State& state, DoubleLanes* exponentials, const DoubleLanes* residuals,
                              std::int32_t samples) {
    Build(state, exponentials, residuals, samples);
    const DoubleLanes raised = 1.0 + state.Lambda;
    const DoubleLanes* const a = state.Alpha;
    System system{{{a[0] * raised, a[1], a[2], -state.Beta[0]},
                   {a[1], a[3] * raised, a[4], -state.Beta[1]},
                   {a[2], a[4], a[5] * raised, -state.Beta[2]}}};
    DoubleLanes step[3];
    Solve(system, step, state.HasZeroPivot);
    for (int j = 0; j < 3; ++j) state.Trial[j] = state.Parameters[j] + step[j];
    for (std::int32_t i = 0; i < samples; ++i) {
        const DoubleLanes distance = static_cast<double>(i) - state.Trial[2];
        exponentials[i] = -(distance * state.Trial[1] * distance);
    }
}

// Takes a trial that is better than the value before the last success.
KY_SIMD_CLONES void JudgeTrial(State& state, const DoubleLanes* data, const DoubleLanes* exponentials,
                               DoubleLanes* residuals, std::int32_t samples) {
    DoubleLanes sum{};
    for (std::int32_t i = 0; i < samples; ++i) {
        residuals[i] = data[i] - state.Trial[0] * exponentials[i];
        sum += residuals[i] * residuals[i];
    }
    state.HasMoved = state.Current > sum;
    const DoubleLanes lowered = state.Lambda / kLambdaFactor;
    state.Lambda *= kLambdaFactor;
    PutWhere(state.HasMoved, lowered, state.Lambda);
    for (int j = 0; j < 3; ++j) PutWhere(state.HasMoved, state.Trial[j], state.Parameters[j]);
    PutWhere(state.HasMoved, state.Previous, state.Current);
    PutWhere(state.HasMoved, sum, state.Previous);
}

} // namespace

GaussLanes::GaussLanes(std::int32_t samples)
    : m_data(static_cast<std::size_t>(samples)), m_exponentials(static_cast<std::size_t>(samples)),
      m_residuals(static_cast<std::size_t>(samples)), m_samples(samples) {
    const DoubleLanes zero{};
    std::fill_n(m_data.Get(), samples, zero);
    std::fill_n(m_exponentials.Get(), samples, zero);
    std::fill_n(m_residuals.Get(), samples, zero);
}

void GaussLanes::Begin(int lane, const double* window, const FitParameters& start) {
    double sum = 0.0;
    for (std::int32_t i = 0; i < m_samples; ++i) {
        const double distance = i - start[2];
        const double g = std::exp(-(distance * start[1] * distance));
        const double residual = window[i] - start[0] * g;
        sum += residual * residual;
        m_data.Get()[i][lane] = window[i];
        m_exponentials.Get()[i][lane] = g;
        m_residuals.Get()[i][lane] = residual;
    }
    for (std::size_t j = 0; j < start.size(); ++j) m_state.Parameters[j][lane] = start[j];
    m_state.Lambda[lane] = kFirstLambda;
    m_state.Current[lane] = m_state.Previous[lane] = sum;
    m_state.HasMoved[lane] = -1;
    m_step[lane] = 0;
}

bool GaussLanes::HasEnded(int lane) const {
    if (m_state.HasZeroPivot[lane] != 0) return true;
    return !(std::fabs(m_state.Current[lane] - m_state.Previous[lane]) > kEnoughChange) || m_step[lane] >= kMaxFitSteps;
}

// One by one: the C library's own exponential.
void GaussLanes::TakeExponentials() {
    DoubleLanes* const values = m_exponentials.Get();
    for (int lane = 0; lane < kDoubleLanes; ++lane) {
        if (m_job[lane] < 0) continue;
        for (std::int32_t i = 0; i < m_samples; ++i) values[i][lane] = std::exp(values[i][lane]);
    }
}

void GaussLanes::Fit(const double* windows, const FitParameters* starts, std::int32_t count, GaussOutcome* outcomes) {
    std::int32_t next = 0;
    std::int32_t running = 0;
    const auto take = [&](int lane) {
        m_job[lane] = next < count ? next++ : -1;
        if (m_job[lane] < 0) return;
        Begin(lane, windows + std::ptrdiff_t{m_job[lane]} * m_samples, starts[m_job[lane]]);
        ++running;
    };
    for (int lane = 0; lane < kDoubleLanes; ++lane) take(lane);
    while (running > 0) {
        MakeTrial(m_state, m_exponentials.Get(), m_residuals.Get(), m_samples);
        TakeExponentials();
        JudgeTrial(m_state, m_data.Get(), m_exponentials.Get(), m_residuals.Get(), m_samples);
        for (int lane = 0; lane < kDoubleLanes; ++lane) {
            if (m_job[lane] < 0) continue;
            ++m_step[lane];
            if (!HasEnded(lane)) continue;
            const FitResult result = m_state.HasZeroPivot[lane] != 0 ? FitResult::ZeroPivot
                                     : m_step[lane] == kMaxFitSteps  ? FitResult::TooManySteps
                                                                     : FitResult::Converged;
            outcomes[m_job[lane]] = {result, m_state.Parameters[0][lane]};
            --running;
            take(lane);
        }
    }
}

} // namespace kyf
