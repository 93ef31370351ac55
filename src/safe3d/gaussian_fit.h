/// A Gaussian through the window of a focus peak: moments give the estimate, a Levenberg-Marquardt fit confirms it.
#ifndef KYFOCUS_SAFE3D_GAUSSIAN_FIT_H
#define KYFOCUS_SAFE3D_GAUSSIAN_FIT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace kyf {

constexpr std::int32_t kMaxFitParameters = 3;
using FitParameters = std::array<double, kMaxFitParameters>;

constexpr std::int32_t kMaxFitSteps = 20; ///< a fit that comes so far has failed
constexpr double kFirstLambda = 50.0;
constexpr double kLambdaFactor = 10.0;
constexpr double kLeastPivot = 1e-12;
constexpr double kEnoughChange = 0.001; ///< of the sum of squares: less ends a fit

/// A model: a function of one variable with a parameter vector.
class CFunc {
  public:
    virtual double Value(double x, const double* parameters) const = 0;
    /// The partial derivatives with respect to each parameter.
    virtual void Derivatives(double x, const double* parameters, double* result) const = 0;

  protected:
    ~CFunc() = default;
};

/// p0 * exp(-((x - p2) * p1 * (x - p2))): amplitude, inverse width, centre.
class CGauss final : public CFunc {
  public:
    double Value(double x, const double* parameters) const override;
    void Derivatives(double x, const double* parameters, double* result) const override;
};

/// Data and state of one fit.
struct FitRecord {
    const double* Data; ///< samples; x is the index
    std::int32_t Count;
    const CFunc* Function;
    std::int32_t ParameterCount;                        ///< at most kMaxFitParameters
    double ChiSquare;                                   ///< last sum of squares
    FitParameters Beta;                                 ///< gradient
    FitParameters Delta;                                ///< right-hand side of the step
    std::array<FitParameters, kMaxFitParameters> Alpha; ///< normal matrix
    FitParameters Best; ///< best parameters; those of the start before any step has helped
};

/// Working memory of fits to at most `count` samples. Throws std::bad_alloc.
class FitWorkspace {
  public:
    explicit FitWorkspace(std::int32_t count);

    double* Samples() const { return m_doubles.get(); }
    double* Exponentials() const { return m_doubles.get() + m_count; }
    double* Residuals() const { return m_doubles.get() + 2 * m_count; }

  private:
    std::size_t m_count;
    std::unique_ptr<double[]> m_doubles;
};

/// Results of FitLevenbergMarquardt.
enum class FitResult : std::int32_t { Converged = 1, TooManySteps = -1, ZeroPivot = -2 };

/// Least squares by Levenberg-Marquardt, in at most 20 steps, the last of which counts as a failure. A step is measured
/// against the sum of squares before the success before it.
/// @param result  Best parameters; left as they were at a zero pivot.
FitResult FitLevenbergMarquardt(FitRecord& record, const double* start, double* result, FitWorkspace& workspace);

/// Gaussian elimination. A pivot is the last row whose entry exceeds the diagonal's.
/// @param rows      n rows of n + 1 numbers, the right-hand side last; changed. n is at most kMaxFitParameters.
/// @param solution  Cleared first; at a zero pivot it holds what had been reached.
/// @return 1, or -1 for a pivot of 1e-12 and less.
std::int32_t SolveLinear(std::int32_t n, std::array<double, kMaxFitParameters + 1>* rows, double* solution);

/// First and last frame of the window around a peak: 30 % of the stack, 7 at least where it has them, moved inside.
struct FitWindow {
    std::int32_t First;
    std::int32_t Last;
};
FitWindow WindowOfPeak(std::int32_t count, std::int32_t peak);

/// A window to be fitted, and where to start. The centre counts from the window's first frame.
struct PeakEstimate {
    FitWindow Window;
    FitParameters Start;

    std::int32_t Count() const { return Window.Last - Window.First + 1; }
    /// Amplitude, inverse width and centre in frames of the stack.
    FitParameters InFrames() const { return {Start[0], Start[1], Window.First + Start[2]}; }
};

/// A column of edge strengths and what the band-pass has made of it. `Step` doubles lie between two frames.
struct PeakColumn {
    const double* Edge;
    const double* Banded;
    std::int32_t Count;
    std::ptrdiff_t Step;
};

/// Estimates a peak by the moments of its window. @param samples  Receives the window, which has a length of its own
/// for each stack length. @return false for a flat window, with the estimate left as it was.
bool EstimatePeak(const PeakColumn& column, std::int32_t peak, double* samples, PeakEstimate& estimate);

/// Estimates amplitude, inverse width and centre (in frames) of a peak and confirms them by a fit. Short windows are
/// taken from the edge strengths, long ones from the band-passed column.
/// @param estimate   Left as it was when the window is flat. @param amplitude  Fitted; left as it was without success.
/// @return Whether the fit converged.
bool FitPeak(const double* edge, const double* banded, std::int32_t count, std::int32_t peak, FitParameters& estimate,
             double& amplitude, FitWorkspace& workspace);

} // namespace kyf

#endif
