/// Focus peaks in the edge strengths of one pixel over the stack: pure functions on arrays of one entry per frame.
///
/// Nothing here allocates except the workspace, which serves any number of pixels of one stack.
#ifndef KYFOCUS_SAFE3D_PEAK_SEARCH_H
#define KYFOCUS_SAFE3D_PEAK_SEARCH_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kyf {

/// Doubles that SmoothTriangular needs to lay out a padded copy of its source.
std::size_t SmoothingScratch(std::int32_t width, std::int32_t count);

/// Weighted moving average with weights falling from (int)(w / 2 + 1) at the middle to 1; the ends repeat. A width
/// below 3 copies. @param scratch  SmoothingScratch(width, count) doubles.
void SmoothTriangular(std::int32_t width, std::int32_t count, const double* source, double* destination,
                      double* scratch);

/// One sample of what SmoothTriangular gives, the same to the bit.
double SmoothTriangularAt(std::int32_t width, std::int32_t count, const double* source, std::int32_t at);

/// Slope of the luminance over five frames, spread to 0 to 256. A constant slope gives NaN; 2 to 4 frames give 0; one
/// frame gives the luminance itself.
void DifferentiateLuminance(const double* luminance, double* slope, std::int32_t count);

/// Working memory of SearchPeak for stacks of `count` frames. Throws std::bad_alloc.
class PeakWorkspace {
  public:
    explicit PeakWorkspace(std::int32_t count);

    std::int32_t Count() const { return m_count; }
    double* LongAverage() const { return m_doubles.get(); }
    double* Values() const { return m_doubles.get() + m_count; }
    double* Smoothing() const { return m_doubles.get() + 2 * std::ptrdiff_t{m_count}; }
    std::int32_t* Indices() const { return m_indices.get(); }

  private:
    std::int32_t m_count;
    std::unique_ptr<double[]> m_doubles;
    std::unique_ptr<std::int32_t[]> m_indices;
};

/// How SearchPeak chooses.
struct PeakSearchSettings {
    double ShortRatio;     ///< width of the short average, in stack lengths, at most 1
    double LongRatio;      ///< width of the long average, in stack lengths, at most 1
    double Threshold;      ///< edge strength below which nothing is a peak
    std::int32_t Adoption; ///< 0: the only strong one; 1: the one on the side of the larger heights; else the highest
    bool Ascending;        ///< heights rise with the frame number
};

/// Band-passes a column of edge strengths and picks its peak.
/// @param banded     Receives the band-passed column. @param segmented  Receives it with what is below the threshold
///                   made 0; left as it was when the search ends before that.
/// @param peak       Frame of the peak. Left as it was when the column has no value above 0.
/// @return Whether there is a peak that can be trusted.
bool SearchPeak(std::int32_t count, const double* edge, double* banded, double* segmented,
                const PeakSearchSettings& settings, std::int32_t& peak, PeakWorkspace& workspace);

/// The last step of SearchPeak: chooses among the runs of a column in which what is below the threshold is 0.
/// @param peak  Frame of the highest value; receives the choice. @return Whether it can be trusted.
bool ChoosePeak(std::int32_t count, const double* segmented, const PeakSearchSettings& settings, std::int32_t& peak,
                PeakWorkspace& workspace);

/// A run of values above 0. All -1 when there is none.
struct Segment {
    double PeakValue;
    std::int32_t PeakIndex; ///< first of equal maxima
    std::int32_t Begin;
    std::int32_t End; ///< the 0 behind the run, or the last frame
};

/// The next run from `start` on. A run that ends at the last frame but one counts as open to the last.
Segment NextSegment(std::int32_t count, const double* segmented, std::int32_t start);

} // namespace kyf

#endif
