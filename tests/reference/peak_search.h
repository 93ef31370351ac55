/// Plain form of the peak search: the obvious loops on one column.
#ifndef KYFOCUS_TESTS_REFERENCE_PEAK_SEARCH_H
#define KYFOCUS_TESTS_REFERENCE_PEAK_SEARCH_H

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

namespace reference {

using Column = std::vector<double>;

inline Column SmoothTriangular(int width, const Column& source) {
    if (width < 3) return source;
    const int count = static_cast<int>(source.size());
    const int half = static_cast<int>(width * 0.5);
    const int top = static_cast<int>(width * 0.5 + 1.0);
    Column result(source.size());
    for (int i = 0; i < count; ++i) {
        double sum = 0.0;
        double weights = 0.0;
        for (int k = -half; k <= half; ++k) {
            sum += (top - std::abs(k)) * source[static_cast<std::size_t>(std::clamp(i + k, 0, count - 1))];
            weights += top - std::abs(k);
        }
        result[static_cast<std::size_t>(i)] = sum / weights;
    }
    return result;
}

inline Column DifferentiateLuminance(const Column& k) {
    const std::size_t n = k.size();
    if (n == 1) return k;
    Column d(n, 0.0);
    if (n < 5) return d;
    for (std::size_t i = 2; i + 3 <= n; ++i) d[i] = std::fabs(-2 * k[i - 2] - k[i - 1] + k[i + 1] + 2 * k[i + 2]);
    d[0] = d[1] = d[2];
    d[n - 2] = d[n - 1] = d[n - 3];
    double high = 0.0;
    double low = 256.0;
    for (const double value : d) high = std::max(high, value);
    for (const double value : d) low = std::min(low, value);
    for (double& value : d) value = (value - low) * (256.0 / (high - low));
    return d;
}

struct Run {
    double PeakValue = -1.0;
    int PeakIndex = -1;
    int Begin = -1;
    int End = -1;
};

inline Run NextRun(const Column& w2, int start) {
    const int n = static_cast<int>(w2.size());
    Run run;
    int i = start;
    while (i < n) {
        const double value = w2[static_cast<std::size_t>(i)];
        if (run.Begin < 0) {
            if (value > 0) run.Begin = i;
        } else if (value == 0) {
            run.End = i;
            ++i;
            break;
        }
        ++i;
    }
    if (i >= n - 1) {
        if (run.Begin < 0) return {};
        run.End = n - 1;
    }
    run.PeakValue = w2[static_cast<std::size_t>(run.Begin)];
    run.PeakIndex = run.Begin;
    for (int j = run.Begin; j <= run.End; ++j) {
        if (w2[static_cast<std::size_t>(j)] > run.PeakValue) {
            run.PeakValue = w2[static_cast<std::size_t>(j)];
            run.PeakIndex = j;
        }
    }
    return run;
}

struct PeakSearch {
    bool Found = false;
    Column W1;
    Column W2; ///< empty when the search ended before it
    int Peak = 0;
};

inline bool ChoosePeak(const std::vector<Run>& runs, int adoption, bool ascending, int& peak) {
    if (adoption == 1) {
        peak = ascending ? runs.back().PeakIndex : runs.front().PeakIndex;
        return true;
    }
    if (adoption != 0) return true;
    double best = runs.front().PeakValue;
    for (const Run& run : runs) {
        if (run.PeakValue > best) {
            peak = run.PeakIndex;
            best = run.PeakValue;
        }
    }
    for (const Run& run : runs)
        if (run.PeakValue != best && run.PeakValue > best * 0.4) return false;
    return true;
}

inline PeakSearch SearchPeak(const Column& e, double shortRatio, double longRatio, double threshold, int adoption,
                             bool ascending, int peakBefore) {
    const int n = static_cast<int>(e.size());
    PeakSearch search;
    search.Peak = peakBefore;
    search.W1 = SmoothTriangular(static_cast<int>(n * shortRatio), e);
    if (n >= 8) {
        const Column average = SmoothTriangular(static_cast<int>(n * longRatio), e);
        for (std::size_t i = 0; i < e.size(); ++i) {
            search.W1[i] = search.W1[i] - average[i];
            if (search.W1[i] < 0) search.W1[i] = 0;
        }
    }
    double top = 0.0;
    double low = std::numeric_limits<double>::max();
    for (int i = 0; i < n; ++i) {
        const double value = search.W1[static_cast<std::size_t>(i)];
        if (value > top) {
            top = value;
            search.Peak = i;
        }
        low = std::min(low, value);
    }
    if (std::fabs(top - low) < 1.0 || top < threshold) return search;
    for (const double value : search.W1) search.W2.push_back(value < threshold ? 0.0 : value);
    std::vector<Run> runs;
    int start = 0;
    for (;;) {
        const Run run = NextRun(search.W2, start);
        if (run.End == -1) break;
        runs.push_back(run);
        if (run.End == n - 1) break;
        start = run.End;
    }
    search.Found = ChoosePeak(runs, adoption, ascending, search.Peak);
    return search;
}

} // namespace reference

#endif
