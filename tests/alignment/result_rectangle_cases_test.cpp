// The part of the frame that results keep, against computed rectangles.
#include <array>
#include <string>

#include <gtest/gtest.h>

#include "alignment/alignment.h"
#include "alignment/projection_shift.h"
#include "support/case_files.h"

namespace {

using nlohmann::json;

/// One row of the table: a session of its own, whose other side holds figures that must not count.
void CheckRow(const json& row) {
    const auto field = [&](const char* name) { return row.at(name).get<std::int32_t>(); };
    const bool is2D = row.at("side").get<std::string>() == "2D";
    KyfFocusComposition session{};
    session.ScopeType = field("ScopeType");
    session.AutoPos = field("AutoPos");
    session.TrimInvalidBorder = field("TrimInvalidBorder");
    const auto common = row.at("CommonRect").get<std::array<std::int32_t, 4>>();
    session.CommonRect = {common[0], common[1], common[2], common[3]};
    KyfProjectionShift shift{};
    const json& moved = row.at("ProjectionShift");
    shift.MaxPositiveX = moved.at("MaxPositiveX").get<std::int32_t>();
    shift.MaxPositiveY = moved.at("MaxPositiveY").get<std::int32_t>();
    shift.MaxNegativeX = moved.at("MaxNegativeX").get<std::int32_t>();
    shift.MaxNegativeY = moved.at("MaxNegativeY").get<std::int32_t>();
    session.ProjectionShift = &shift;
    KyfCompositionState& state = is2D ? session.State2D : session.State3D;
    KyfLineMatching& matching = is2D ? session.Matching2D : session.Matching3D;
    state.SourceWidth = field("SourceWidth");
    state.SourceHeight = field("SourceHeight");
    matching.MinShift = field("MinShift");
    matching.MaxShift = field("MaxShift");
    matching.Margin = field("Margin_before");

    const KyfRect rectangle = kyf::ResultRectangle(session, state, matching);
    const auto expected = row.at("rectangle").get<std::array<std::int32_t, 4>>();
    EXPECT_EQ((std::array{rectangle.Left, rectangle.Top, rectangle.Right, rectangle.Bottom}), expected);
    EXPECT_EQ(matching.Margin, field("Margin_after"));
}

TEST(ResultRectangle, IsTheOneOfTheModelForEveryScopeAndSide) {
    const json rows = test::LoadCase("alignment", "result_rectangles").Json.at("rows");
    ASSERT_FALSE(rows.empty());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE("row " + std::to_string(i));
        CheckRow(rows[i]);
    }
}

} // namespace
