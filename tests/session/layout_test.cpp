// The order of the fields that hosts see, and the headers in C.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <gtest/gtest.h>
#include <kyfocus/file_composition.h>
#include <kyfocus/kyfocus.h>

extern "C" int RunSessionInC(void);
extern "C" int ComposeNoFilesInC(void);

namespace {

/// Where a field ends up that is put behind `end` at its natural alignment.
constexpr std::size_t Behind(std::size_t end, std::size_t alignment) {
    return (end + alignment - 1) / alignment * alignment;
}

// FIELD: `field` stands right behind `previous`; FIRST: at the start; LAST: nothing but padding follows.
#define FIRST(record, field) static_assert(offsetof(record, field) == 0)
#define FIELD(record, previous, field)                                                                                 \
    static_assert(offsetof(record, field) ==                                                                           \
                  Behind(offsetof(record, previous) + sizeof(record::previous), alignof(decltype(record::field))))
#define LAST(record, field)                                                                                            \
    static_assert(sizeof(record) == Behind(offsetof(record, field) + sizeof(record::field), alignof(record)))

FIRST(KyfRect, Left);
FIELD(KyfRect, Left, Top);
FIELD(KyfRect, Top, Right);
FIELD(KyfRect, Right, Bottom);
LAST(KyfRect, Bottom);

FIRST(KyfFrameShift, ScaleX);
FIELD(KyfFrameShift, ScaleX, ScaleY);
FIELD(KyfFrameShift, ScaleY, ShiftX);
FIELD(KyfFrameShift, ShiftX, ShiftY);
FIELD(KyfFrameShift, ShiftY, Angle);
LAST(KyfFrameShift, Angle);

FIRST(KyfLineMatching, BandRatio);
FIELD(KyfLineMatching, BandRatio, SearchRatio);
FIELD(KyfLineMatching, SearchRatio, BandHeight);
FIELD(KyfLineMatching, BandHeight, MinShift);
FIELD(KyfLineMatching, MinShift, MaxShift);
FIELD(KyfLineMatching, MaxShift, Margin);
FIELD(KyfLineMatching, Margin, LineCount);
FIELD(KyfLineMatching, LineCount, LineRows);
FIELD(KyfLineMatching, LineRows, LineOrder);
FIELD(KyfLineMatching, LineOrder, LineProfiles);
FIELD(KyfLineMatching, LineProfiles, CentreRow);
FIELD(KyfLineMatching, CentreRow, Profile);
FIELD(KyfLineMatching, Profile, TotalShift);
LAST(KyfLineMatching, TotalShift);

FIRST(KyfProjectionShift, PreviousFrame);
FIELD(KyfProjectionShift, PreviousFrame, TotalX);
FIELD(KyfProjectionShift, TotalX, TotalY);
FIELD(KyfProjectionShift, TotalY, MaxPositiveX);
FIELD(KyfProjectionShift, MaxPositiveX, MaxPositiveY);
FIELD(KyfProjectionShift, MaxPositiveY, MaxNegativeX);
FIELD(KyfProjectionShift, MaxNegativeX, MaxNegativeY);
LAST(KyfProjectionShift, MaxNegativeY);

FIRST(KyfImageData, Rows);
FIELD(KyfImageData, Rows, Width);
FIELD(KyfImageData, Width, Height);
LAST(KyfImageData, Height);

FIRST(KyfHeightDataArray, Data);
FIELD(KyfHeightDataArray, Data, Width);
FIELD(KyfHeightDataArray, Width, Height);
LAST(KyfHeightDataArray, Height);

FIRST(KyfHeightData16bit, Data);
FIELD(KyfHeightData16bit, Data, Width);
FIELD(KyfHeightData16bit, Width, Height);
FIELD(KyfHeightData16bit, Height, Step);
FIELD(KyfHeightData16bit, Step, Min);
FIELD(KyfHeightData16bit, Min, Max);
LAST(KyfHeightData16bit, Max);

FIRST(KyfDifferentiationMap, Rows);
FIELD(KyfDifferentiationMap, Rows, Width);
FIELD(KyfDifferentiationMap, Width, Height);
FIELD(KyfDifferentiationMap, Height, Depth);
LAST(KyfDifferentiationMap, Depth);

FIRST(KyfDifferentiationMap8Bit, Data);
FIELD(KyfDifferentiationMap8Bit, Data, Width);
FIELD(KyfDifferentiationMap8Bit, Width, Height);
LAST(KyfDifferentiationMap8Bit, Height);

FIRST(KyfProgress, Weight);
FIELD(KyfProgress, Weight, Percent);
FIELD(KyfProgress, Percent, Callback);
FIELD(KyfProgress, Callback, Args);
FIELD(KyfProgress, Args, Parent);
FIELD(KyfProgress, Parent, SubList);
FIELD(KyfProgress, SubList, SubCount);
FIELD(KyfProgress, SubCount, Completed);
LAST(KyfProgress, Completed);

FIRST(KyfCompositionState, WorkWidth);
FIELD(KyfCompositionState, WorkWidth, WorkHeight);
FIELD(KyfCompositionState, WorkHeight, SourceWidth);
FIELD(KyfCompositionState, SourceWidth, SourceHeight);
FIELD(KyfCompositionState, SourceHeight, SourceFormat);
FIELD(KyfCompositionState, SourceFormat, FrameCount);
FIELD(KyfCompositionState, FrameCount, CompImage);
FIELD(KyfCompositionState, CompImage, MapWidth);
FIELD(KyfCompositionState, MapWidth, MapHeight);
FIELD(KyfCompositionState, MapHeight, HeightDataMap);
FIELD(KyfCompositionState, HeightDataMap, CuttedHeightDataMap);
FIELD(KyfCompositionState, CuttedHeightDataMap, CuttedAntNoiseHeightDataMap);
FIELD(KyfCompositionState, CuttedAntNoiseHeightDataMap, CuttedWidth);
FIELD(KyfCompositionState, CuttedWidth, CuttedHeight);
FIELD(KyfCompositionState, CuttedHeight, AntNoiseHeightDataMap);
LAST(KyfCompositionState, AntNoiseHeightDataMap);

FIRST(KyfFocusComposition, Signature);
FIELD(KyfFocusComposition, Signature, TempFolder);
FIELD(KyfFocusComposition, TempFolder, ScopeType);
FIELD(KyfFocusComposition, ScopeType, MatchingDetectType);
FIELD(KyfFocusComposition, MatchingDetectType, MatchingPositionType);
FIELD(KyfFocusComposition, MatchingPositionType, Speed);
FIELD(KyfFocusComposition, Speed, CompSize);
FIELD(KyfFocusComposition, CompSize, Smoothing);
FIELD(KyfFocusComposition, Smoothing, Smoothing3D);
FIELD(KyfFocusComposition, Smoothing3D, AutoPos);
FIELD(KyfFocusComposition, AutoPos, AreaNo);
FIELD(KyfFocusComposition, AreaNo, AreaPos);
FIELD(KyfFocusComposition, AreaPos, PlaneType);
FIELD(KyfFocusComposition, PlaneType, TrimInvalidBorder);
FIELD(KyfFocusComposition, TrimInvalidBorder, HalationMeasures);
FIELD(KyfFocusComposition, HalationMeasures, AdoptionPeakPosition);
FIELD(KyfFocusComposition, AdoptionPeakPosition, FocusingValueDetectionSensitivity);
FIELD(KyfFocusComposition, FocusingValueDetectionSensitivity, D3ShapeSmoothing);
FIELD(KyfFocusComposition, D3ShapeSmoothing, ProjectionNoiseRemove);
FIELD(KyfFocusComposition, ProjectionNoiseRemove, Mode);
FIELD(KyfFocusComposition, Mode, ScaleX);
FIELD(KyfFocusComposition, ScaleX, ScaleY);
FIELD(KyfFocusComposition, ScaleY, BlendWindowSize);
FIELD(KyfFocusComposition, BlendWindowSize, State2D);
FIELD(KyfFocusComposition, State2D, State3D);
FIELD(KyfFocusComposition, State3D, HeightList);
FIELD(KyfFocusComposition, HeightList, BestFrameMap);
FIELD(KyfFocusComposition, BestFrameMap, BlendMask);
FIELD(KyfFocusComposition, BlendMask, BestFocusMap);
FIELD(KyfFocusComposition, BestFocusMap, BestFocusWidth);
FIELD(KyfFocusComposition, BestFocusWidth, BestFocusHeight);
FIELD(KyfFocusComposition, BestFocusHeight, FrameShifts);
FIELD(KyfFocusComposition, FrameShifts, FrameShiftCapacity);
FIELD(KyfFocusComposition, FrameShiftCapacity, AreaTemplates);
FIELD(KyfFocusComposition, AreaTemplates, AreaSearchRects);
FIELD(KyfFocusComposition, AreaSearchRects, AreaTemplateRects);
FIELD(KyfFocusComposition, AreaTemplateRects, CommonRect);
FIELD(KyfFocusComposition, CommonRect, Matcher);
FIELD(KyfFocusComposition, Matcher, CuttedBestFocusMap);
FIELD(KyfFocusComposition, CuttedBestFocusMap, Matching2D);
FIELD(KyfFocusComposition, Matching2D, Matching3D);
FIELD(KyfFocusComposition, Matching3D, EdgeDataWidth);
FIELD(KyfFocusComposition, EdgeDataWidth, EdgeDataHeight);
FIELD(KyfFocusComposition, EdgeDataHeight, BlurFilterX);
FIELD(KyfFocusComposition, BlurFilterX, BlurFilterY);
FIELD(KyfFocusComposition, BlurFilterY, BlurFilterSize);
FIELD(KyfFocusComposition, BlurFilterSize, SobelFilterA);
FIELD(KyfFocusComposition, SobelFilterA, SobelFilterB);
FIELD(KyfFocusComposition, SobelFilterB, SobelFilterC);
FIELD(KyfFocusComposition, SobelFilterC, SobelFilterD);
FIELD(KyfFocusComposition, SobelFilterD, SobelFilterSize);
FIELD(KyfFocusComposition, SobelFilterSize, EdgeFrames);
FIELD(KyfFocusComposition, EdgeFrames, FrameCapacity);
FIELD(KyfFocusComposition, FrameCapacity, KidoFrames);
FIELD(KyfFocusComposition, KidoFrames, ProjectionShift);
FIELD(KyfFocusComposition, ProjectionShift, TempFileMap);
FIELD(KyfFocusComposition, TempFileMap, DisableGPU);
LAST(KyfFocusComposition, DisableGPU);

FIRST(KyfFocusInitializeParameter, TempFolder);
FIELD(KyfFocusInitializeParameter, TempFolder, ScopeType);
FIELD(KyfFocusInitializeParameter, ScopeType, MatchingDetectType);
FIELD(KyfFocusInitializeParameter, MatchingDetectType, MatchingPositionType);
FIELD(KyfFocusInitializeParameter, MatchingPositionType, TrimInvalidBorder);
FIELD(KyfFocusInitializeParameter, TrimInvalidBorder, DisableGPU);
LAST(KyfFocusInitializeParameter, DisableGPU);

FIRST(KyfFocusCompositionParameter, ScopeType);
FIELD(KyfFocusCompositionParameter, ScopeType, AlgType);
FIELD(KyfFocusCompositionParameter, AlgType, Speed);
FIELD(KyfFocusCompositionParameter, Speed, AutoPos);
FIELD(KyfFocusCompositionParameter, AutoPos, AreaNo);
FIELD(KyfFocusCompositionParameter, AreaNo, AreaPos);
FIELD(KyfFocusCompositionParameter, AreaPos, CompParamSetType);
FIELD(KyfFocusCompositionParameter, CompParamSetType, CompSize);
FIELD(KyfFocusCompositionParameter, CompSize, Smoothing);
FIELD(KyfFocusCompositionParameter, Smoothing, PlaneType);
FIELD(KyfFocusCompositionParameter, PlaneType, MatchingDetectType);
FIELD(KyfFocusCompositionParameter, MatchingDetectType, MatchingPositionType);
FIELD(KyfFocusCompositionParameter, MatchingPositionType, HalationMeasures);
FIELD(KyfFocusCompositionParameter, HalationMeasures, AdoptionPeakPosition);
FIELD(KyfFocusCompositionParameter, AdoptionPeakPosition, FocusingValueDetectionSensitivity);
FIELD(KyfFocusCompositionParameter, FocusingValueDetectionSensitivity, ProjectionNoiseRemove);
FIELD(KyfFocusCompositionParameter, ProjectionNoiseRemove, D3ShapeSmoothing);
FIELD(KyfFocusCompositionParameter, D3ShapeSmoothing, DisableGPU);
LAST(KyfFocusCompositionParameter, DisableGPU);

FIRST(KyfFocusComposition2DSelectionParameter, Speed);
FIELD(KyfFocusComposition2DSelectionParameter, Speed, CompSize);
FIELD(KyfFocusComposition2DSelectionParameter, CompSize, Smoothing);
FIELD(KyfFocusComposition2DSelectionParameter, Smoothing, AutoPos);
FIELD(KyfFocusComposition2DSelectionParameter, AutoPos, AreaNo);
FIELD(KyfFocusComposition2DSelectionParameter, AreaNo, AreaPos);
LAST(KyfFocusComposition2DSelectionParameter, AreaPos);

FIRST(KyfFocusComposition3DSelectionParameter, Speed);
FIELD(KyfFocusComposition3DSelectionParameter, Speed, PlaneType);
FIELD(KyfFocusComposition3DSelectionParameter, PlaneType, AutoPos);
FIELD(KyfFocusComposition3DSelectionParameter, AutoPos, AreaNo);
FIELD(KyfFocusComposition3DSelectionParameter, AreaNo, AreaPos);
FIELD(KyfFocusComposition3DSelectionParameter, AreaPos, HalationMeasures);
FIELD(KyfFocusComposition3DSelectionParameter, HalationMeasures, AdoptionPeakPosition);
FIELD(KyfFocusComposition3DSelectionParameter, AdoptionPeakPosition, FocusingValueDetectionSensitivity);
FIELD(KyfFocusComposition3DSelectionParameter, FocusingValueDetectionSensitivity, D3ShapeSmoothing);
FIELD(KyfFocusComposition3DSelectionParameter, D3ShapeSmoothing, ProjectionNoiseRemove);
LAST(KyfFocusComposition3DSelectionParameter, ProjectionNoiseRemove);

FIRST(KyfFocusCompositionFile, Path);
FIELD(KyfFocusCompositionFile, Path, Height);
LAST(KyfFocusCompositionFile, Height);

FIRST(KyfFileFocusCompositionParameter, Init);
FIELD(KyfFileFocusCompositionParameter, Init, AlgType);
FIELD(KyfFileFocusCompositionParameter, AlgType, Param2D);
FIELD(KyfFileFocusCompositionParameter, Param2D, Param3D);
FIELD(KyfFileFocusCompositionParameter, Param3D, Files);
FIELD(KyfFileFocusCompositionParameter, Files, FileCount);
FIELD(KyfFileFocusCompositionParameter, FileCount, WantHeightData);
FIELD(KyfFileFocusCompositionParameter, WantHeightData, WantDifferentiationMap);
LAST(KyfFileFocusCompositionParameter, WantDifferentiationMap);

FIRST(KyfFileFocusCompositionResult, Image);
FIELD(KyfFileFocusCompositionResult, Image, CuttedHeightData);
FIELD(KyfFileFocusCompositionResult, CuttedHeightData, CuttedHeightWidth);
FIELD(KyfFileFocusCompositionResult, CuttedHeightWidth, CuttedHeightHeight);
FIELD(KyfFileFocusCompositionResult, CuttedHeightHeight, CuttedAntNoiseHeightData);
FIELD(KyfFileFocusCompositionResult, CuttedAntNoiseHeightData, CuttedAntNoiseWidth);
FIELD(KyfFileFocusCompositionResult, CuttedAntNoiseWidth, CuttedAntNoiseHeight);
FIELD(KyfFileFocusCompositionResult, CuttedAntNoiseHeight, DifferentiationMap);
LAST(KyfFileFocusCompositionResult, DifferentiationMap);

#undef FIRST
#undef FIELD
#undef LAST

// Rows is the only field that alignment could move; packing shows in what the record is a multiple of.
static_assert(alignof(KyfDifferentiationMap) == 4);
static_assert(sizeof(KyfDifferentiationMap) == sizeof(void*) + 12);
static_assert(sizeof(KyfFocusCompositionParameter) == 4 * 25);
static_assert(sizeof(KyfFocusComposition2DSelectionParameter) == 4 * 13);
static_assert(sizeof(KyfFocusComposition3DSelectionParameter) == 4 * 17);
static_assert(std::is_standard_layout_v<KyfFocusComposition> && std::is_trivially_copyable_v<KyfFocusComposition>);
static_assert(sizeof(KyfFocusComposition::Signature) == 12);

TEST(Interface, IsUsableFromC) {
    EXPECT_EQ(RunSessionInC(), 1);
    EXPECT_EQ(ComposeNoFilesInC(), 1);
}

} // namespace
