// Frames moved by projection shift, against computed results.
#include <string>

#include <gtest/gtest.h>

#include "alignment/projection_shift.h"
#include "filters/shapes.h"
#include "support/arrays.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

using nlohmann::json;

constexpr const char* kTopic = "projection";

struct DestroyRecord {
    void operator()(KyfProjectionShift* shift) const { kyf::DestroyProjectionShift(&shift); }
};
using Record = std::unique_ptr<KyfProjectionShift, DestroyRecord>;

class ProjectionShiftCases : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        m_case = test::LoadCase(kTopic, GetParam());
        m_frames = test::ReadInts(m_case.File("frames.npy"));
        m_moved = test::ReadInts(m_case.File("moved.npy"));
    }
    std::int32_t Field(const char* name) const { return m_case.Json.at(name).get<std::int32_t>(); }
    test::Image Frame(std::size_t i) const {
        return test::FromPlanes(Field("Width"), Field("Height"), Field("Format"), m_frames.Entry(i));
    }
    void CheckFrame(KyfProjectionShift& shift, std::size_t i, KyiBool parallel) const;

    test::Case m_case;
    test::Array<std::int32_t> m_frames;
    test::Array<std::int32_t> m_moved;
};

void ProjectionShiftCases::CheckFrame(KyfProjectionShift& shift, std::size_t i, KyiBool parallel) const {
    SCOPED_TRACE("frame " + std::to_string(i));
    const json& expected = m_case.Json.at("after_each_apply")[i - 1];
    const auto field = [&](const char* name) { return expected.at(name).get<std::int32_t>(); };
    const test::Image frame = Frame(i);
    const kyf::ProjectionMove move = kyf::MeasureProjection(shift, *frame);
    EXPECT_EQ(move.X, field("dx"));
    EXPECT_EQ(move.Y, field("dy"));
    EXPECT_EQ(move.Row, field("row"));
    EXPECT_EQ(move.Column, field("column"));
    kyf::AcceptProjection(shift, *frame, move, parallel);
    EXPECT_EQ(shift.TotalX, field("TotalX"));
    EXPECT_EQ(shift.TotalY, field("TotalY"));
    EXPECT_EQ(shift.MaxPositiveX, field("MaxPositiveX"));
    EXPECT_EQ(shift.MaxPositiveY, field("MaxPositiveY"));
    EXPECT_EQ(shift.MaxNegativeX, field("MaxNegativeX"));
    EXPECT_EQ(shift.MaxNegativeY, field("MaxNegativeY"));
    const test::Image moved = test::RandomImage(frame->Width, frame->Height, frame->Format, 5);
    kyf::MoveFrame(*frame, *moved, -shift.TotalX, -shift.TotalY, parallel);
    EXPECT_TRUE(test::SameValues(m_moved.Entry(i - 1), test::ToPlanes(*moved)));
}

TEST_P(ProjectionShiftCases, GiveTheFramesOfTheModel) {
    for (const test::Threads threads : test::kThreads) {
        SCOPED_TRACE(testing::Message() << "flag " << threads.Flag << ", threads " << threads.Count);
        const test::ThreadScope scope(threads.Count);
        const Record record(kyf::CreateProjectionShift(Frame(0).get(), threads.Flag));
        for (std::size_t i = 1; i < m_frames.Shape[0]; ++i) CheckFrame(*record, i, threads.Flag);
    }
}

INSTANTIATE_TEST_SUITE_P(, ProjectionShiftCases, testing::ValuesIn(test::CaseNames(kTopic)),
                         [](const auto& chosen) { return chosen.param; });

} // namespace
