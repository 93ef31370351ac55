#include "safe3d/gaussian_fit.h"

#include <algorithm>
#include <cmath>
#include <typeinfo>
#include <utility>

namespace kyf {

namespace {

std::size_t ParametersOf(const FitRecord& record) {
    return static_cast<std::size_t>(std::clamp(record.ParameterCount, 0, kMaxFitParameters));
}

/// Any model, asked sample by sample.
class CallsOfFunction {
  public:
    CallsOfFunction(const FitRecord& record, const FitWorkspace& /*workspace*/) : m_record(record) {}

    double SumOfSquares(const double* parameters) const {
        double sum = 0.0;
        for (std::int32_t i = 0; i < m_record.Count; ++i) {
            const double residual = m_record.Data[i] - m_record.Function->Value(i, parameters);
            sum += residual * residual;
        }
        return sum;
    }

    double Gradient(std::int32_t i, const double* parameters, double* gradient) const {
        m_record.Function->Derivatives(i, parameters, gradient);
        return m_record.Data[i] - m_record.Function->Value(i, parameters);
    }

  private:
    const FitRecord& m_record;
};

/// The Gaussian, which takes each exponential once: derivatives are always asked for where the last sum of squares was
/// taken.
class GaussTerms {
  public:
    GaussTerms(const FitRecord& record, const FitWorkspace& workspace)
        : m_record(record), m_exponentials(workspace.Exponentials()), m_residuals(workspace.Residuals()) {}

    double SumOfSquares(const double* parameters) const {
        double sum = 0.0;
        for (std::int32_t i = 0; i < m_record.Count; ++i) {
            const double distance = i - parameters[2];
            m_exponentials[i] = std::exp(-(distance * parameters[1] * distance));
            m_residuals[i] = m_record.Data[i] - parameters[0] * m_exponentials[i];
            sum += m_residuals[i] * m_residuals[i];
        }
        return sum;
    }

    double Gradient(std::int32_t i, const double* parameters, double* gradient) const {
        const double distance = i - parameters[2];
        const double g = m_exponentials[i];
        gradient[0] = g;
        gradient[1] = -(g * parameters[0] * distance * distance);
        gradient[2] = (g * parameters[0] + g * parameters[0]) * parameters[1] * distance;
        return m_residuals[i];
    }

  private:
    const FitRecord& m_record;
    double* m_exponentials;
    double* m_residuals;
};

// Gradient and normal matrix, the diagonal not raised yet.
template <typename Model> void Build(FitRecord& record, const Model& model, const double* parameters) {
    const auto n = ParametersOf(record);
    record.Beta = {};
    record.Alpha = {};
    FitParameters gradient{};
    for (std::int32_t i = 0; i < record.Count; ++i) {
        const double residual = model.Gradient(i, parameters, gradient.data());
        for (std::size_t j = 0; j < n; ++j) {
            record.Beta[j] -= residual * gradient[j];
            for (std::size_t k = 0; k < n; ++k) record.Alpha[j][k] += gradient[j] * gradient[k];
        }
    }
}

// The step for the diagonal raised by 1 + lambda; false at a zero pivot.
bool SolveStep(FitRecord& record, double lambda, double* step) {
    const auto n = ParametersOf(record);
    std::array<std::array<double, kMaxFitParameters + 1>, kMaxFitParameters> rows{};
    for (std::size_t j = 0; j < n; ++j) {
        record.Delta[j] = -record.Beta[j];
        for (std::size_t k = 0; k < n; ++k) rows[j][k] = record.Alpha[j][k];
        rows[j][j] *= 1 + lambda;
        rows[j][n] = record.Delta[j];
    }
    return SolveLinear(record.ParameterCount, rows.data(), step) == 1;
}

template <typename Model>
FitResult Iterate(FitRecord& record, const Model& model, const double* start, double* result) {
    const auto n = ParametersOf(record);
    FitParameters parameters{};
    for (std::size_t j = 0; j < n; ++j) parameters[j] = start[j];
    record.Best = parameters;
    double lambda = kFirstLambda;
    double previous = record.ChiSquare = model.SumOfSquares(parameters.data());
    double current = previous;
    bool hasMoved = true; // the matrix belongs to other parameters
    std::int32_t iteration = 0;
    while (iteration == 0 || (std::fabs(current - previous) > kEnoughChange && iteration < kMaxFitSteps)) {
        ++iteration;
        if (hasMoved) Build(record, model, parameters.data());
        FitParameters step{};
        if (!SolveStep(record, lambda, step.data())) return FitResult::ZeroPivot;
        FitParameters trial{};
        for (std::size_t j = 0; j < n; ++j) trial[j] = parameters[j] + step[j];
        record.ChiSquare = model.SumOfSquares(trial.data());
        hasMoved = current > record.ChiSquare;
        if (hasMoved) {
            lambda /= kLambdaFactor;
            record.Best = parameters = trial;
            // One success behind: the next trial is measured against the value before this one.
            current = std::exchange(previous, record.ChiSquare);
        } else {
            lambda *= kLambdaFactor;
        }
    }
    for (std::size_t j = 0; j < n; ++j) result[j] = record.Best[j];
    return iteration == kMaxFitSteps ? FitResult::TooManySteps : FitResult::Converged;
}

} // namespace

double CGauss::Value(double x, const double* parameters) const {
    return parameters[0] * std::exp(-((x - parameters[2]) * parameters[1] * (x - parameters[2])));
}

void CGauss::Derivatives(double x, const double* parameters, double* result) const {
    const double distance = x - parameters[2];
    const double g = std::exp(-(distance * parameters[1] * distance));
    result[0] = g;
    result[1] = -(g * parameters[0] * distance * distance);
    result[2] = (g * parameters[0] + g * parameters[0]) * parameters[1] * distance;
}

FitResult FitLevenbergMarquardt(FitRecord& record, const double* start, double* result, FitWorkspace& workspace) {
    if (typeid(*record.Function) == typeid(CGauss))
        return Iterate(record, GaussTerms(record, workspace), start, result);
    return Iterate(record, CallsOfFunction(record, workspace), start, result);
}

std::int32_t SolveLinear(std::int32_t n, std::array<double, kMaxFitParameters + 1>* rows, double* solution) {
    const auto size = static_cast<std::size_t>(n);
    for (std::size_t i = 0; i < size; ++i) solution[i] = 0.0;
    for (std::size_t k = 0; k < size; ++k) {
        std::size_t pivot = k;
        for (std::size_t r = k + 1; r < size; ++r)
            if (std::fabs(rows[r][k]) > std::fabs(rows[k][k])) pivot = r; // against the diagonal, not the largest
        for (std::size_t j = k; j <= size; ++j) std::swap(rows[k][j], rows[pivot][j]);
        for (std::size_t r = k + 1; r < size; ++r) {
            const double factor = rows[r][k] / rows[k][k];
            for (std::size_t j = k; j <= size; ++j) rows[r][j] -= factor * rows[k][j];
        }
    }
    for (std::size_t i = size; i-- > 0;) {
        double sum = 0.0;
        for (std::size_t j = i + 1; j < size; ++j) sum += rows[i][j] * solution[j];
        solution[i] = (rows[i][size] - sum) / rows[i][i];
        if (std::fabs(rows[i][i]) <= kLeastPivot) return -1;
    }
    return 1;
}

} // namespace kyf
