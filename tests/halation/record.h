/// A halation record that ends with its test, and series in one call.
#ifndef KYFOCUS_TESTS_HALATION_RECORD_H
#define KYFOCUS_TESTS_HALATION_RECORD_H

#include <memory>
#include <vector>

#include <kyfocus/halation.h>

#include "support/images.h"

namespace test {

struct FreeRecord {
    void operator()(KyfHalationRemoval* record) const { KyfFreeHalationRemoval(record); }
};
using Record = std::unique_ptr<KyfHalationRemoval, FreeRecord>;

inline Record NewRecord() { return Record(KyfAllocHalationRemoval()); }

inline Record StartedRecord(const KyfHalationParameter& parameter) {
    Record record = NewRecord();
    EXPECT_EQ(KyfHalationStart(record.get(), &parameter), KyfResultOk);
    return record;
}

inline KyfResult Add(const Record& record, const Image& frame, KyiBool parallel = 0, KyfProgress* progress = nullptr) {
    return KyfHalationAddImage(record.get(), frame.get(), parallel, progress);
}

/// A picture whose upper half is darker than the lower one, of one sample value each.
inline Image HalvesImage(std::int32_t width, std::int32_t height, std::int32_t format, std::int32_t upper,
                         std::int32_t lower) {
    const auto plane = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::vector<std::int32_t> samples(plane * static_cast<std::size_t>(ChannelCount(format)), lower);
    const std::size_t half = static_cast<std::size_t>(width) * static_cast<std::size_t>(height / 2);
    for (std::size_t first = 0; first < samples.size(); first += plane)
        std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(first), half, upper);
    return FromPlanes(width, height, format, samples);
}

} // namespace test

#endif
