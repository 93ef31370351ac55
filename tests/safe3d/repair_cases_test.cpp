#include <map>
#include <string>

#include <gtest/gtest.h>

#include "reference/height_repair.h"
#include "safe3d/height_repair.h"
#include "safe3d/maps.h"
#include "safe3d/threads.h"
#include "support/arrays.h"
#include "support/case_files.h"

namespace {

using test::Case;
using test::MapShape;

template <typename T> MapShape ShapeOf(const test::Array<T>& array) {
    return {static_cast<std::int32_t>(array.Shape[1]), static_cast<std::int32_t>(array.Shape[0])};
}

test::Uint16Image Samples(const Case& data, const char* file = "samples.npy") {
    const auto samples = test::ReadInts(data.File(file));
    return test::NewUint16(ShapeOf(samples), samples.Values, data.Json.value("Scale", 1.0),
                           data.Json.value("Offset", 0.0));
}

test::Image Mask(const Case& data) {
    const auto mask = test::ReadInts(data.File("mask.npy"));
    return test::NewMask(ShapeOf(mask), mask.Values);
}

void ExpectSamples(const Case& data, const char* file, const kyf::KyfImageDataUint16& image) {
    EXPECT_TRUE(test::SameValues(test::ReadInts(data.File(file)).Values, test::ToList(image))) << file;
}

void ExpectMask(const Case& data, const char* file, const KyiImageData& mask) {
    EXPECT_TRUE(test::SameValues(test::ReadInts(data.File(file)).Values, test::ToPlanes(mask))) << file;
}

void Quantise(const Case& data, KyiBool /*parallel*/) {
    const auto source = test::ReadDoubles(data.File("source.npy"));
    const MapShape shape = ShapeOf(source);
    const test::Uint16Image image(kyf::AllocUint16Image(shape.Width, shape.Height));
    kyf::QuantiseMap(*test::NewDoubles(shape, source.Values), *image);
    ExpectSamples(data, "samples.npy", *image);
    EXPECT_TRUE(test::SameValues(test::ReadDoubles(data.File("Scale_Offset.npy")).Values,
                                 std::vector<double>{image->Scale, image->Offset}));
}

void FillPlane(const Case& data, KyiBool /*parallel*/) {
    const test::Uint16Image image = Samples(data);
    const test::Image mask = Mask(data);
    EXPECT_EQ(1, kyf::FillPlane(*image, *mask, data.Json.at("level").get<double>(), nullptr));
    ExpectSamples(data, "filled.npy", *image);
    ExpectMask(data, "filled_mask.npy", *mask);
    const auto before = test::ReadInts(data.File("mask.npy"));
    EXPECT_EQ(test::ReadInts(data.File("closed_mask.npy")).Values,
              reference::CloseMask({ShapeOf(before).Width, ShapeOf(before).Height, before.Values}).Values);
}

void HardenMask(const Case& data, KyiBool parallel) {
    const test::Image mask = Mask(data);
    EXPECT_EQ(1, kyf::HardenMask(*mask, parallel));
    ExpectMask(data, "hardened.npy", *mask);
}

// One case has a sum beyond 32 bits: a large image of one value, described by its few bad pixels.
void RelaxOneValue(const Case& data) {
    const MapShape shape{data.Json.at("Width").get<std::int32_t>(), data.Json.at("Height").get<std::int32_t>()};
    const auto value = data.Json.at("all_samples").get<std::int32_t>();
    const auto bad = test::ReadInts(data.File("bad_pixels.npy"));
    std::vector<std::int32_t> samples(test::CountOf(shape), value);
    std::vector<std::int32_t> maskValues(test::CountOf(shape), 0);
    const auto at = [&](std::size_t i) {
        return static_cast<std::size_t>(bad.Entry(i)[1] * shape.Width + bad.Entry(i)[0]);
    };
    for (std::size_t i = 0; i < bad.Shape[0]; ++i) maskValues[at(i)] = 255;
    const auto relaxed = test::ReadInts(data.File("relaxed_at_bad_pixels.npy"));
    const test::Uint16Image image =
        test::NewUint16(shape, samples, data.Json.at("Scale").get<double>(), data.Json.at("Offset").get<double>());
    const test::Image mask = test::NewMask(shape, maskValues);
    kyf::RelaxHoles(*image, *mask);
    for (std::size_t i = 0; i < bad.Shape[0]; ++i) samples[at(i)] = relaxed.Values[i];
    EXPECT_TRUE(test::SameValues(samples, test::ToList(*image)));
}

void Relax(const Case& data, KyiBool /*parallel*/) {
    if (data.Json.contains("all_samples")) return RelaxOneValue(data);
    const test::Uint16Image image = Samples(data);
    const test::Image mask = Mask(data);
    reference::ScaledGrid plain{{image->Width, image->Height, test::ToList(*image)}, image->Scale, image->Offset};
    reference::IntGrid plainMask{image->Width, image->Height, test::ToPlanes(*mask)};
    const reference::Relaxation relaxation = reference::Relax(plain, plainMask);
    EXPECT_EQ(data.Json.at("mean").get<std::int32_t>(), relaxation.Mean);
    EXPECT_EQ(data.Json.at("limit").get<std::int32_t>(), relaxation.Limit);
    EXPECT_EQ(data.Json.at("sweeps").get<int>(), relaxation.Sweeps);
    kyf::RelaxHoles(*image, *mask);
    ExpectSamples(data, "relaxed.npy", *image);
    ExpectMask(data, "relaxed_mask.npy", *mask);
}

void HoleMean(const Case& data, KyiBool parallel) {
    const test::Uint16Image image = Samples(data);
    EXPECT_EQ(1, kyf::TakeHoleMean(*image, data.Json.at("size").get<std::int32_t>(),
                                   data.Json.at("margin").get<std::int32_t>(), parallel, nullptr));
    ExpectSamples(data, "meaned.npy", *image);
}

void WholeFrames(const Case& data, KyiBool parallel) {
    const test::Uint16Image image = Samples(data);
    kyf::RoundToWholeFrames(*image, parallel);
    ExpectSamples(data, "whole.npy", *image);
    EXPECT_EQ(data.Json.at("Scale_after").get<double>(), image->Scale);
    EXPECT_EQ(data.Json.at("Offset_after").get<double>(), image->Offset);
}

void BilinearDouble(const Case& data, KyiBool parallel) {
    const auto source = test::ReadDoubles(data.File("source.npy"));
    const kyf::DoubleImagePtr result(
        kyf::AllocDoubleImage(data.Json.at("Width").get<std::int32_t>(), data.Json.at("Height").get<std::int32_t>()));
    kyf::ResampleBilinear(*test::NewDoubles(ShapeOf(source), source.Values), *result, parallel, nullptr);
    EXPECT_TRUE(test::SameValues(test::ReadDoubles(data.File("resampled.npy")).Values, test::ToList(*result)));
}

void Bilinear16(const Case& data, KyiBool parallel) {
    const test::Uint16Image result(
        kyf::AllocUint16Image(data.Json.at("Width").get<std::int32_t>(), data.Json.at("Height").get<std::int32_t>()));
    kyf::ResampleBilinear(*Samples(data, "source.npy"), *result, parallel, nullptr);
    ExpectSamples(data, "resampled.npy", *result);
}

using Operation = void (*)(const Case&, KyiBool);
const std::map<std::string, Operation> kOperations{{"quantise", Quantise},
                                                   {"plane fill", FillPlane},
                                                   {"mask hardening", HardenMask},
                                                   {"relaxation", Relax},
                                                   {"hole mean", HoleMean},
                                                   {"whole frames", WholeFrames},
                                                   {"bilinear, double", BilinearDouble},
                                                   {"bilinear, 16-bit", Bilinear16}};

class RepairCases : public testing::TestWithParam<std::string> {};
TEST_P(RepairCases, GiveTheMapsOfTheModel) {
    const Case data = test::LoadCase("repair", GetParam());
    const Operation operation = kOperations.at(data.Json.at("operation").get<std::string>());
    for (const int threads : test::kThreadCounts) {
        SCOPED_TRACE(threads);
        const test::ThreadScope scope(threads);
        operation(data, threads != 0);
    }
}
INSTANTIATE_TEST_SUITE_P(Repairs, RepairCases, testing::ValuesIn(test::CaseNames("repair")),
                         [](const auto& test) { return test.param; });

} // namespace
