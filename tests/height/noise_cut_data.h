/// A host's record for the noise cut that owns its tables, in plain heap blocks as a host has them.
#ifndef KYFOCUS_TESTS_HEIGHT_NOISE_CUT_DATA_H
#define KYFOCUS_TESTS_HEIGHT_NOISE_CUT_DATA_H

#include <cstdint>
#include <vector>

#include <kyfocus/noise_cut.h>

#include "reference/noise_cut.h"

namespace test {

/// Rows of one length each; the record may be changed before it is used.
class NoiseCutData {
  public:
    NoiseCutData(reference::Field heights, reference::IntField map, std::int32_t depth)
        : m_heights(std::move(heights)), m_map(std::move(map)) {
        for (auto& row : m_heights) m_heightRows.push_back(row.data());
        for (auto& row : m_map) m_mapRows.push_back(row.data());
        Record.HeightData = {m_heightRows.data(), Width(m_heights), static_cast<std::int32_t>(m_heights.size())};
        Record.DifferentiationMap = {m_mapRows.data(), Width(m_map), static_cast<std::int32_t>(m_map.size()), depth};
    }
    NoiseCutData(const NoiseCutData&) = delete;
    NoiseCutData& operator=(const NoiseCutData&) = delete;

    const reference::Field& Heights() const { return m_heights; }
    const reference::IntField& Map() const { return m_map; }

    KyfHeightNoiseCutData Record{};

  private:
    template <typename Table> static std::int32_t Width(const Table& table) {
        return table.empty() ? 0 : static_cast<std::int32_t>(table.front().size());
    }

    reference::Field m_heights;
    reference::IntField m_map;
    std::vector<double*> m_heightRows;
    std::vector<std::int32_t*> m_mapRows;
};

/// Keeps the percentages that a callback is told.
struct HeardReports {
    std::vector<std::int32_t> Percents;
    KyfFilterProgress Progress{
        [](std::int32_t percent, void* argument) { static_cast<HeardReports*>(argument)->Percents.push_back(percent); },
        0, this};
};

template <typename T> std::vector<T> Flat(const std::vector<std::vector<T>>& rows) {
    std::vector<T> values;
    for (const auto& row : rows) values.insert(values.end(), row.begin(), row.end());
    return values;
}

template <typename T> std::vector<std::vector<T>> Rows(const std::vector<T>& values, std::size_t height) {
    std::vector<std::vector<T>> rows(height);
    const std::size_t width = values.size() / height;
    for (std::size_t y = 0; y < height; ++y)
        rows[y].assign(values.begin() + static_cast<std::ptrdiff_t>(y * width),
                       values.begin() + static_cast<std::ptrdiff_t>((y + 1) * width));
    return rows;
}

} // namespace test

#endif
