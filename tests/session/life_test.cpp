// Raw blocks, sessions, and what is left when they end.
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "alignment/pattern_matching.h"
#include "filters/double_image.h"
#include "selection2d/selection2d.h"
#include "session/session_insides.h"
#include "session/sessions.h"

namespace {

namespace fs = std::filesystem;

void Touch(const fs::path& file) { std::ofstream(file) << 'x'; }

bool IsCleared(const KyfFocusComposition& session) {
    KyfFocusComposition expected;
    std::memset(static_cast<void*>(&expected), 0, sizeof expected);
    std::memcpy(expected.Signature, kyf::kSessionSignature, sizeof expected.Signature);
    KyfFocusComposition actual;
    std::memset(static_cast<void*>(&actual), 0, sizeof actual);
    std::memcpy(static_cast<void*>(&actual), &session, sizeof actual);
    return std::memcmp(&expected, &actual, sizeof actual) == 0;
}

/// The least of a table: enough for its end to be missed by the leak check.
template <typename T> T* One() { return new T[1]{}; }

KyfImageData** OneFrame() {
    return new KyfImageData* [3] { kyf::AllocDoubleImage(3, 2), nullptr, nullptr };
}

void FillMatching(KyfLineMatching& matching) {
    matching.LineCount = 2;
    matching.LineRows = One<std::int32_t>();
    matching.LineOrder = One<std::int32_t>();
    matching.LineProfiles = new std::int32_t* [2] { One<std::int32_t>(), One<std::int32_t>() };
    matching.Profile = One<std::int32_t>();
}

void FillState(KyfCompositionState& state) {
    state.CompImage = KyiAllocImageData(2, 2, KyiFormatGray8);
    state.HeightDataMap = kyf::AllocDoubleRows(2, 2);
    state.CuttedHeightDataMap = kyf::AllocDoubleRows(2, 2);
    state.CuttedAntNoiseHeightDataMap = kyf::AllocDoubleRows(2, 2);
    state.AntNoiseHeightDataMap = kyf::AllocDoubleRows(2, 2);
    state.WorkHeight = 4;
    state.CuttedHeight = 5;
}

/// Everything that a session can own, each made the way of its folder.
void FillAll(KyfFocusComposition& session) {
    FillState(session.State2D);
    FillState(session.State3D);
    session.HeightList = One<double>();
    session.BestFocusHeight = 3;
    session.BestFocusMap = kyf::AllocIntRows(2, 3, /*cleared=*/true);
    session.BestFrameMap = kyf::AllocIntRows(2, 4, /*cleared=*/true);
    session.CuttedBestFocusMap = kyf::AllocIntRows(2, 5, /*cleared=*/true);
    session.BlendMask = One<double>();
    session.FrameShifts = One<KyfFrameShift>();
    session.AreaNo = 1;
    session.AreaTemplates = new KyiImageData* [4] { KyiAllocImageData(1, 1, 3), KyiAllocImageData(1, 1, 3) };
    session.Matcher = new KyfPatternMatching;
    FillMatching(session.Matching2D);
    FillMatching(session.Matching3D);
    session.FrameCapacity = 3;
    session.EdgeFrames = OneFrame();
    session.KidoFrames = OneFrame();
    session.TempFileMap = new wchar_t* [3] { One<wchar_t>(), One<wchar_t>(), nullptr };
}

TEST(SessionLife, AFreshBlockHasNoSignature) {
    const test::Session session(KyfAllocFocusComposition());
    EXPECT_FALSE(kyf::IsSession(session.get()));
    EXPECT_EQ(KyfFocusStartGyre(session.get()), KyfResultInvalidParameter);
}

TEST(SessionLife, ARecycledBlockIsNeverTakenForTheSessionThatItWas) {
    for (int turn = 0; turn < 50; ++turn) {
        KyfFocusComposition* const session = KyfAllocFocusComposition();
        ASSERT_FALSE(kyf::IsSession(session));
        KyfFocusInitializeParameter parameter{};
        ASSERT_EQ(KyfFocusInitialize(session, &parameter), KyfResultOk);
        KyfFreeFocusComposition(session);
    }
}

TEST(SessionLife, InitializeTrustsNothingInARawBlock) {
    const auto block = std::make_unique<KyfFocusComposition>();
    std::memset(static_cast<void*>(block.get()), 0xa5, sizeof *block);
    KyfFocusInitializeParameter parameter{};
    ASSERT_EQ(KyfFocusInitialize(block.get(), &parameter), KyfResultOk);
    EXPECT_TRUE(kyf::IsSession(block.get()));
    EXPECT_EQ(block->HeightList, nullptr);
    KyfFocusTerminate(block.get());
}

TEST(SessionLife, InitializeSetsParametersAndDefaults) {
    const test::Session session(KyfAllocFocusComposition());
    const KyfFocusInitializeParameter parameter{L"somewhere", 1, 2, 3, 4, 5};
    ASSERT_EQ(KyfFocusInitialize(session.get(), &parameter), KyfResultOk);
    EXPECT_STREQ(session->TempFolder, L"somewhere");
    EXPECT_EQ(session->ScopeType, 1);
    EXPECT_EQ(session->MatchingDetectType, 2);
    EXPECT_EQ(session->MatchingPositionType, 3);
    EXPECT_EQ(session->TrimInvalidBorder, 4);
    EXPECT_EQ(session->DisableGPU, 5);
    EXPECT_EQ(session->ScaleX, 1.0);
    EXPECT_EQ(session->ScaleY, 1.0);
    EXPECT_EQ(session->BlendWindowSize, 3);
    EXPECT_EQ(session->CompSize, 5);
    for (const KyfLineMatching& matching : {session->Matching2D, session->Matching3D}) {
        EXPECT_EQ(matching.BandRatio, 0.05);
        EXPECT_EQ(matching.SearchRatio, 0.15);
    }
    EXPECT_EQ(session->Mode, 0);
    EXPECT_EQ(session->Speed, 0);
    EXPECT_EQ(session->AreaNo, 0);
}

TEST(SessionLife, InitializeRefusesNullAndLeavesTheSessionAsItWas) {
    const test::Session session = test::MakeSession(L"kept");
    EXPECT_EQ(KyfFocusInitialize(session.get(), nullptr), KyfResultInvalidParameter);
    EXPECT_STREQ(session->TempFolder, L"kept");
    KyfFocusInitializeParameter parameter{};
    EXPECT_EQ(KyfFocusInitialize(nullptr, &parameter), KyfResultInvalidParameter);
}

TEST(SessionLife, TheFolderIsCutToItsCapacityAndNullCountsAsEmpty) {
    const test::Session session(KyfAllocFocusComposition());
    const std::wstring longPath(1000, L'p');
    KyfFocusInitializeParameter parameter{};
    parameter.TempFolder = longPath.c_str();
    ASSERT_EQ(KyfFocusInitialize(session.get(), &parameter), KyfResultOk);
    EXPECT_EQ(std::wstring(session->TempFolder), longPath.substr(0, KyfMaxPath - 1));
    parameter.TempFolder = nullptr;
    ASSERT_EQ(KyfFocusInitialize(session.get(), &parameter), KyfResultOk);
    EXPECT_STREQ(session->TempFolder, L"");
}

TEST(SessionLife, TheHostMayHandBackTheSessionsOwnFolder) {
    const test::Session session = test::MakeSession(L"own/folder");
    KyfFocusInitializeParameter parameter{};
    parameter.TempFolder = session->TempFolder;
    ASSERT_EQ(KyfFocusInitialize(session.get(), &parameter), KyfResultOk);
    EXPECT_STREQ(session->TempFolder, L"own/folder");
}

TEST(SessionLife, TerminateSweepsTemporaryFilesAndNothingElse) {
    const test::TemporaryFolder folder;
    for (const char* name : {"MFocusTemp0.bmp", "xMFocusTemp", "MFocusTem.bmp", "frame.bmp"})
        Touch(folder.Path() / name);
    fs::create_directory(folder.Path() / "MFocusTemp_folder");
    const test::Session session = test::MakeSession(folder.Path().wstring());
    KyfFocusTerminate(session.get());
    EXPECT_FALSE(fs::exists(folder.Path() / "MFocusTemp0.bmp"));
    EXPECT_FALSE(fs::exists(folder.Path() / "xMFocusTemp"));
    EXPECT_TRUE(fs::exists(folder.Path() / "MFocusTem.bmp"));
    EXPECT_TRUE(fs::exists(folder.Path() / "frame.bmp"));
    EXPECT_TRUE(fs::exists(folder.Path() / "MFocusTemp_folder"));
}

TEST(SessionLife, InitializeAgainSweepsTheFolderOfTheFirstCall) {
    const test::TemporaryFolder first;
    const test::TemporaryFolder second;
    const test::Session session = test::MakeSession(first.Path().wstring());
    Touch(first.Path() / "MFocusTemp7.bmp");
    Touch(second.Path() / "MFocusTemp7.bmp");
    const std::wstring other = second.Path().wstring();
    KyfFocusInitializeParameter parameter{};
    parameter.TempFolder = other.c_str();
    ASSERT_EQ(KyfFocusInitialize(session.get(), &parameter), KyfResultOk);
    EXPECT_FALSE(fs::exists(first.Path() / "MFocusTemp7.bmp"));
    EXPECT_TRUE(fs::exists(second.Path() / "MFocusTemp7.bmp"));
}

TEST(SessionLife, TerminateLeavesAClearedRecordThatIsASession) {
    const test::Session session = test::MakeSession(L"anywhere");
    FillAll(*session); // what is missed here shows as a leak in the checked build
    KyfFocusTerminate(session.get());
    EXPECT_TRUE(IsCleared(*session));
    KyfFocusTerminate(session.get());
    EXPECT_TRUE(IsCleared(*session));
    EXPECT_EQ(KyfFocusStartGyre(session.get()), KyfResultOk);
}

TEST(SessionLife, EndsOfNothingAreQuiet) {
    KyfFocusTerminate(nullptr);
    KyfFreeFocusComposition(nullptr);
    KyfFreeFocusComposition(KyfAllocFocusComposition());
}

TEST(SessionLife, EachOfTheSixCharactersCounts) {
    for (std::size_t at = 0; at < 6; ++at) {
        SCOPED_TRACE(at);
        const test::Session session = test::MakeSession();
        const char16_t kept = std::exchange(session->Signature[at], u'x');
        EXPECT_EQ(KyfFocusStartGyre(session.get()), KyfResultInvalidParameter);
        session->Signature[at] = kept;
        EXPECT_EQ(KyfFocusStartGyre(session.get()), KyfResultOk);
    }
}

} // namespace
