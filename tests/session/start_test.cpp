// Settings into the record, by name and unchecked.
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "session/sessions.h"

namespace {

KyfFocusComposition2DSelectionParameter TwoParameter() { return {11, 12, 13, 14, 2, {{1, 2}, {3, 4}, {5, 6}, {7, 8}}}; }

KyfFocusComposition3DSelectionParameter ThreeParameter() {
    return {21, 22, 23, 1, {{11, 12}, {13, 14}, {15, 16}, {17, 18}}, 24, 25, 26, 27, 28};
}

TEST(SessionStart, TakesThe2DParameter) {
    const test::Session session = test::MakeSession();
    const auto parameter = TwoParameter();
    session->Mode = 5;
    ASSERT_EQ(KyfFocusStart2DSelection(session.get(), &parameter), KyfResultOk);
    EXPECT_EQ(session->Mode, KyfMode2DSelection);
    EXPECT_EQ(session->Speed, 11);
    EXPECT_EQ(session->CompSize, 12);
    EXPECT_EQ(session->Smoothing, 13);
    EXPECT_EQ(session->AutoPos, 14);
    EXPECT_EQ(session->AreaNo, 2);
    EXPECT_EQ(session->AreaPos[3].y, 8);
}

TEST(SessionStart, TakesThe3DParameter) {
    const test::Session session = test::MakeSession();
    const auto parameter = ThreeParameter();
    session->Smoothing3D = 9;
    ASSERT_EQ(KyfFocusStart3DSafe(session.get(), &parameter), KyfResultOk);
    EXPECT_EQ(session->Mode, KyfMode3DSafe);
    EXPECT_EQ(session->Smoothing3D, 0);
    EXPECT_EQ(session->Speed, 21);
    EXPECT_EQ(session->PlaneType, 22);
    EXPECT_EQ(session->AutoPos, 23);
    EXPECT_EQ(session->AreaNo, 1);
    EXPECT_EQ(session->AreaPos[2].x, 15);
    EXPECT_EQ(session->AreaPos[3].x, 0) << "three areas are in use";
    EXPECT_EQ(session->HalationMeasures, 24);
    EXPECT_EQ(session->AdoptionPeakPosition, 25);
    EXPECT_EQ(session->FocusingValueDetectionSensitivity, 26);
    EXPECT_EQ(session->D3ShapeSmoothing, 27);
    EXPECT_EQ(session->ProjectionNoiseRemove, 28);
    EXPECT_EQ(session->CompSize, 5) << "a 2D setting changed";
}

TEST(SessionStart, LetsThe3DRecordWinWhereBothHaveAField) {
    const test::Session session = test::MakeSession();
    const auto two = TwoParameter();
    const auto three = ThreeParameter();
    ASSERT_EQ(KyfFocusStartComplexProcessing(session.get(), &two, &three), KyfResultOk);
    EXPECT_EQ(session->Mode, KyfModeComplexProcessing);
    EXPECT_EQ(session->Speed, 21);
    EXPECT_EQ(session->AutoPos, 23);
    EXPECT_EQ(session->AreaNo, 1);
    EXPECT_EQ(session->AreaPos[0].x, 11);
    EXPECT_EQ(session->AreaPos[3].x, 7) << "the fourth area is the 2D record's";
    EXPECT_EQ(session->CompSize, 12);
    EXPECT_EQ(session->Smoothing, 13);
    EXPECT_EQ(session->PlaneType, 22);
}

TEST(SessionStart, GyreIsFixed) {
    const test::Session session = test::MakeSession();
    const auto parameter = TwoParameter();
    KyfFocusStart2DSelection(session.get(), &parameter);
    ASSERT_EQ(KyfFocusStartGyre(session.get()), KyfResultOk);
    EXPECT_EQ(session->Mode, KyfMode2DSelection);
    EXPECT_EQ(session->Speed, 2);
    EXPECT_EQ(session->CompSize, 8);
    EXPECT_EQ(session->Smoothing, 5);
    EXPECT_EQ(session->AutoPos, 0);
    EXPECT_EQ(session->AreaNo, 0);
}

TEST(SessionStart, TakesTheWholeParameterByItsAlgorithm) {
    for (const KyfAlgorithmType type : {0, 1, 2}) {
        SCOPED_TRACE(type);
        const test::Session session = test::MakeSession();
        KyfFocusCompositionParameter parameter = CKyfFocusCompositionSetting().Get();
        parameter.AlgType = type;
        parameter.ScopeType = 3;
        parameter.DisableGPU = 1;
        parameter.ProjectionNoiseRemove = 7;
        parameter.Smoothing = 31;
        ASSERT_EQ(KyfFocusStart(session.get(), &parameter), KyfResultOk);
        EXPECT_EQ(session->Mode, type);
        EXPECT_EQ(session->Speed, 1);
        EXPECT_EQ(session->Smoothing, type == KyfAlgorithmType3DSafe ? 0 : 31);
        EXPECT_EQ(session->ProjectionNoiseRemove, type == KyfAlgorithmType2DSelection ? 0 : 7);
        EXPECT_EQ(session->ScopeType, 0) << "belongs to the initialize call";
        EXPECT_EQ(session->DisableGPU, 0) << "belongs to the initialize call";
    }
}

TEST(SessionStart, RefusesAnUnknownAlgorithmAndChangesNothing) {
    for (const KyfAlgorithmType type : {-1, 3, std::numeric_limits<std::int32_t>::max()}) {
        const test::Session session = test::MakeSession();
        KyfFocusCompositionParameter parameter = CKyfFocusCompositionSetting().Get();
        parameter.AlgType = type;
        EXPECT_EQ(KyfFocusStart(session.get(), &parameter), KyfResultInvalidParameter);
        EXPECT_EQ(session->Speed, 0);
        EXPECT_EQ(session->CompSize, 5);
    }
}

TEST(SessionStart, NeverCopiesMoreAreasThanThereAre) {
    for (const KyfAreaNo areaNo :
         {-7, -2, 3, 1000, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()}) {
        SCOPED_TRACE(areaNo);
        const test::Session session = test::MakeSession();
        KyfFocusComposition2DSelectionParameter parameter = TwoParameter();
        parameter.AreaNo = areaNo;
        ASSERT_EQ(KyfFocusStart2DSelection(session.get(), &parameter), KyfResultOk);
        EXPECT_EQ(session->AreaNo, areaNo);
        EXPECT_EQ(session->PlaneType, 0) << "the field behind the areas";
        EXPECT_EQ(session->AreaPos[0].x, areaNo > 0 ? 1 : 0);
    }
}

TEST(SessionStart, RefusesNull) {
    const test::Session session = test::MakeSession();
    const auto two = TwoParameter();
    const auto three = ThreeParameter();
    const KyfFocusCompositionParameter all{};
    EXPECT_EQ(KyfFocusStart(nullptr, &all), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusStart(session.get(), nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusStartGyre(nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusStart2DSelection(nullptr, &two), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusStart2DSelection(session.get(), nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusStart3DSafe(nullptr, &three), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusStart3DSafe(session.get(), nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusStartComplexProcessing(session.get(), nullptr, &three), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusStartComplexProcessing(session.get(), &two, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(session->Speed, 0);
}

} // namespace
