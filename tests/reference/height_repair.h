/// Plain forms of the repair and resampling of maps. Maps are lists of rows; masks hold 0 to 255.
#ifndef KYFOCUS_TESTS_REFERENCE_HEIGHT_REPAIR_H
#define KYFOCUS_TESTS_REFERENCE_HEIGHT_REPAIR_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

namespace reference {

/// A list of rows with coordinates.
template <typename T> struct Grid {
    int Width = 0;
    int Height = 0;
    std::vector<T> Values;

    bool Has(int x, int y) const { return x >= 0 && y >= 0 && x < Width && y < Height; }
    T& At(int x, int y) {
        return Values[static_cast<std::size_t>(y) * static_cast<std::size_t>(Width) + static_cast<std::size_t>(x)];
    }
    const T& At(int x, int y) const {
        return Values[static_cast<std::size_t>(y) * static_cast<std::size_t>(Width) + static_cast<std::size_t>(x)];
    }
};
using IntGrid = Grid<std::int32_t>;
using DoubleGrid = Grid<double>;

struct ScaledGrid {
    IntGrid Samples;
    double Scale = 1.0;
    double Offset = 0.0;
};

inline double Cut16(double value) {
    if (!(value < 65535)) value = 65535;
    if (!(value > 0)) value = 0;
    return value;
}

inline ScaledGrid Quantise(const DoubleGrid& source) {
    double lo = std::numeric_limits<double>::max();
    double hi = 2.2250738585072014e-308;
    for (const double v : source.Values) {
        if (v < lo) lo = v;
        if (v > hi) hi = v;
    }
    const double step = (hi - lo) / 65535.0;
    ScaledGrid result{{source.Width, source.Height, {}}, step, lo};
    for (const double v : source.Values) {
        double sample = std::floor((v - lo) / step + 0.5);
        if (!(sample < 65535)) sample = 65535;
        result.Samples.Values.push_back(step == 0.0 ? 0 : static_cast<std::int32_t>(sample));
    }
    return result;
}

inline IntGrid CloseMask(const IntGrid& mask) {
    IntGrid t = mask;
    for (const std::int32_t v : {0, 255}) {
        for (int i = 0; i < 10; ++i) {
            IntGrid s = t;
            for (int y = 0; y < t.Height; ++y)
                for (int x = 0; x < t.Width; ++x)
                    for (const auto& [dx, dy] : {std::pair{0, 0}, {0, -1}, {-1, 0}, {1, 0}, {0, 1}})
                        if (t.Has(x + dx, y + dy) && t.At(x + dx, y + dy) == v) s.At(x, y) = v;
            t = s;
        }
    }
    return t;
}

inline void FillPlane(ScaledGrid& image, IntGrid& mask, double level) {
    const IntGrid t = CloseMask(mask);
    const double u = Cut16(level / image.Scale - image.Offset);
    for (std::size_t i = 0; i < mask.Values.size(); ++i) {
        if (t.Values[i] != 255 || mask.Values[i] != 255) continue;
        image.Samples.Values[i] = static_cast<std::int32_t>(u);
        mask.Values[i] = 0;
    }
}

inline IntGrid HardenMask(const IntGrid& mask) {
    IntGrid d = mask;
    for (int y = 1; y <= mask.Height - 2; ++y) {
        for (int x = 1; x <= mask.Width - 2; ++x) {
            int bad = 0;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    if ((dx != 0 || dy != 0) && mask.At(x + dx, y + dy) == 255) ++bad;
            if (mask.At(x, y) == 0 && bad >= 4) d.At(x, y) = 255;
        }
    }
    return d;
}

struct Relaxation {
    std::int32_t Mean = -1; ///< -1 when nothing is good
    std::int32_t Limit = 0;
    int Sweeps = 0;
};

inline std::int32_t RelaxationLimit(double scale, double offset) {
    double limit = std::floor(0.001 / scale - offset + 0.5);
    if (limit < 0) limit = 0;
    if (!(limit < 65535)) limit = 65535;
    return static_cast<std::int32_t>(limit);
}

inline std::int32_t SweepOnce(IntGrid& samples, const IntGrid& mask) {
    std::int32_t largest = 0;
    for (int y = 0; y < samples.Height; ++y) {
        for (int x = 0; x < samples.Width; ++x) {
            if (mask.At(x, y) <= 254) continue;
            std::int32_t sum = 0;
            std::int32_t count = 0;
            for (const auto& [dx, dy] : {std::pair{0, -1}, {-1, 0}, {1, 0}, {0, 1}}) {
                if (!samples.Has(x + dx, y + dy)) continue;
                sum += samples.At(x + dx, y + dy);
                ++count;
            }
            const std::int32_t value = count == 0 ? samples.At(x, y) : sum / count;
            largest = std::max(largest, std::abs(value - samples.At(x, y)));
            samples.At(x, y) = value;
        }
    }
    return largest;
}

inline Relaxation Relax(ScaledGrid& image, IntGrid& mask) {
    Relaxation relaxation;
    relaxation.Limit = RelaxationLimit(image.Scale, image.Offset);
    std::uint32_t sum = 0;
    std::int32_t count = 0;
    for (std::size_t i = 0; i < mask.Values.size(); ++i) {
        if (mask.Values[i] != 0) continue;
        sum += static_cast<std::uint32_t>(image.Samples.Values[i]);
        ++count;
    }
    if (count == 0) {
        for (std::int32_t& sample : image.Samples.Values) sample = 0;
        return relaxation;
    }
    const double mean = std::floor(static_cast<double>(static_cast<std::int32_t>(sum)) / count + 0.5);
    relaxation.Mean = static_cast<std::int32_t>(static_cast<std::uint16_t>(static_cast<std::int32_t>(mean)));
    for (std::size_t i = 0; i < mask.Values.size(); ++i)
        if (mask.Values[i] > 254) image.Samples.Values[i] = relaxation.Mean;
    while (relaxation.Sweeps < 1000) {
        ++relaxation.Sweeps;
        if (SweepOnce(image.Samples, mask) <= relaxation.Limit) break;
    }
    for (std::int32_t& value : mask.Values) value = 0;
    return relaxation;
}

inline IntGrid HoleMean(const IntGrid& c, int size, int margin) {
    IntGrid result = c;
    const int half = size / 2;
    for (int y = margin; y <= c.Height - margin - 1; ++y) {
        for (int x = margin; x <= c.Width - margin - 1; ++x) {
            std::int64_t sum = 0;
            std::int64_t count = 0;
            for (int dy = -half; dy <= half; ++dy) {
                for (int dx = -half; dx <= half; ++dx) {
                    if (dx == 0 && dy == 0) continue;
                    if (x + dx < margin || x + dx >= c.Width - margin) continue;
                    if (y + dy < margin || y + dy >= c.Height - margin) continue;
                    sum += c.At(x + dx, y + dy);
                    ++count;
                }
            }
            if (count > 0) result.At(x, y) = static_cast<std::int32_t>(sum / count);
        }
    }
    return result;
}

/// Truncated, with the smallest integer for what does not fit, as everywhere.
inline std::int32_t ToInt(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                         : std::numeric_limits<std::int32_t>::min();
}

inline void WholeFrames(ScaledGrid& image) {
    std::int32_t lo = 65535;
    std::int32_t hi = 0;
    for (std::int32_t& sample : image.Samples.Values) {
        sample = static_cast<std::uint16_t>(ToInt(sample * image.Scale + image.Offset + 0.5));
        lo = std::min(lo, sample);
        hi = std::max(hi, sample);
    }
    const std::int32_t k = hi > lo ? 65535 / (hi - lo) : 65535;
    for (std::int32_t& sample : image.Samples.Values)
        sample = static_cast<std::uint16_t>(static_cast<std::uint32_t>(sample - lo) * static_cast<std::uint32_t>(k));
    image.Scale = 1.0 / k;
    image.Offset = lo;
}

template <typename T> DoubleGrid Bilinear(const Grid<T>& source, int width, int height) {
    DoubleGrid result{width, height,
                      std::vector<double>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))};
    const double rx = static_cast<double>(width) / source.Width;
    const double ry = static_cast<double>(height) / source.Height;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int sx = static_cast<int>(x / rx);
            const int sy = static_cast<int>(y / ry);
            const double d = source.At(sx, sy);
            const double a = sx < 1 || sy < 1 ? d : source.At(sx - 1, sy - 1);
            const double b = sy < 1 ? d : source.At(sx, sy - 1);
            const double c = sx < 1 ? d : source.At(sx - 1, sy);
            const double fx1 = (x - sx * rx) / rx;
            const double fx0 = ((sx + 1) * rx - x) / rx;
            const double fy1 = (y - sy * ry) / ry;
            const double fy0 = ((sy + 1) * ry - y) / ry;
            result.At(x, y) = fy0 * fx0 * a + fy0 * fx1 * b + fy1 * fx0 * c + fy1 * fx1 * d;
        }
    }
    return result;
}

inline IntGrid Bilinear16(const IntGrid& source, int width, int height) {
    const DoubleGrid values = Bilinear(source, width, height);
    IntGrid result{width, height, {}};
    for (const double value : values.Values)
        result.Values.push_back(static_cast<std::int32_t>(Cut16(std::floor(value + 0.5))));
    return result;
}

} // namespace reference

#endif
