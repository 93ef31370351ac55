// Records of one kind where another one is due, records that have ended, and none at all.
#include <cstddef>
#include <cstring>
#include <new>

#include <gtest/gtest.h>
#include <kyfocus/halation.h>

#include "trust/session_calls.h"

namespace {

constexpr KyfResult kInvalid = KyfResultInvalidParameter;

struct FreeHalation {
    void operator()(KyfHalationRemoval* record) const { KyfFreeHalationRemoval(record); }
};
using Halation = std::unique_ptr<KyfHalationRemoval, FreeHalation>;

constexpr KyfHalationParameter kSettings{180, 20, 50};

test::Image Frame(std::uint32_t seed) { return test::TexturedImage(20, 15, KyiFormatBgr24, seed); }

Halation HalationWithAnImage() {
    Halation record(KyfAllocHalationRemoval());
    EXPECT_EQ(KyfHalationStart(record.get(), &kSettings), KyfResultOk);
    EXPECT_EQ(KyfHalationAddImage(record.get(), Frame(1).get(), 0, nullptr), KyfResultOk);
    return record;
}

/// A record as large as the larger kind that begins with the bytes of another one. Calls that do not test the
/// signature, and say so, are not for it.
template <typename Kind> class Guise {
  public:
    explicit Guise(const void* record, std::size_t bytes) {
        std::memset(m_block, 0x5a, sizeof m_block);
        std::memcpy(m_block, record, bytes);
    }
    Kind* Get() { return reinterpret_cast<Kind*>(m_block); }
    bool IsUnchanged(const Guise& before) const { return std::memcmp(m_block, before.m_block, sizeof m_block) == 0; }

  private:
    static constexpr std::size_t kBytes = sizeof(KyfFocusComposition) > sizeof(KyfHalationRemoval)
                                              ? sizeof(KyfFocusComposition)
                                              : sizeof(KyfHalationRemoval);
    alignas(std::max_align_t) unsigned char m_block[kBytes];
};

/// Results of all calls that test a session's signature.
std::vector<std::pair<const char*, KyfResult>> SignedSessionCalls(KyfFocusComposition* session) {
    const auto two = test::Defaults<KyfFocusComposition2DSelectionParameter>();
    const auto three = test::Defaults<KyfFocusComposition3DSelectionParameter>();
    const KyfFocusCompositionParameter all = CKyfFocusCompositionSetting().Get();
    const KyfHeightNoiseCutParameter cut{0.5, 0, 3};
    const test::Image frame = Frame(1);
    std::int32_t numbers[3] = {};
    KyiImageData* image = nullptr;
    KyfHeightDataArray heights{};
    KyfImageData rows{};
    KyfDifferentiationMap map{};
    KyfDifferentiationMap8Bit stretched{};
    double* list = nullptr;
    std::vector<std::pair<const char*, KyfResult>> results = {
        {"Start", KyfFocusStart(session, &all)},
        {"Start2DSelection", KyfFocusStart2DSelection(session, &two)},
        {"StartGyre", KyfFocusStartGyre(session)},
        {"Start3DSafe", KyfFocusStart3DSafe(session, &three)},
        {"StartComplexProcessing", KyfFocusStartComplexProcessing(session, &two, &three)},
        {"AddImage", KyfFocusAddImage(session, frame.get(), 0, nullptr)},
        {"AddImageWithHeight", KyfFocusAddImageWithHeight(session, frame.get(), 1.0, 0, nullptr)},
        {"MakeCompImage", KyfFocusMakeCompImage(session, 0, nullptr)},
        {"GetCompImageInfo", KyfFocusGetCompImageInfo(session, &numbers[0], &numbers[1], &numbers[2])},
        {"GetCompImage", KyfFocusGetCompImage(session, &image)},
        {"CopyCompImage", KyfFocusCopyCompImage(session, frame.get())},
        {"ExtractCompImage", KyfFocusExtractCompImage(session, &image)},
        {"GetMemorySize", KyfFocusGetMemorySize(session, &numbers[0], &numbers[1])},
        {"GetHeightData", KyfFocusGetHeightData(session, &heights)},
        {"GetKyfHeightData", KyfFocusGetKyfHeightData(session, &rows)},
        {"ExtractHeightData", KyfFocusExtractHeightData(session, &rows)},
        {"GetCuttedHeightData", KyfFocusGetCuttedHeightData(session, &heights)},
        {"ExtractCuttedHeightData", KyfFocusExtractCuttedHeightData(session, &rows)},
        {"GetCuttedAntNoiseHeightData", KyfFocusGetCuttedAntNoiseHeightData(session, &heights)},
        {"GetHeightList", KyfFocusGetHeightList(session, &list)},
        {"GetHeightImage16Bit", KyfFocusGetHeightImage16Bit(session, &image, nullptr)},
        {"GetCuttedHeightImage16Bit", KyfFocusGetCuttedHeightImage16Bit(session, &image, nullptr)},
        {"GetCuttedAntNoiseHeightImage16Bit", KyfFocusGetCuttedAntNoiseHeightImage16Bit(session, &image, nullptr)},
        {"GetCuttedAntNoiseHeightImage8Bit", KyfFocusGetCuttedAntNoiseHeightImage8Bit(session, &image, nullptr)},
        {"FilterHeightNoiseCut", KyfFocusFilterHeightNoiseCut(session, &cut)},
        {"GetDifferentiationMap", KyfFocusGetDifferentiationMap(session, KyiFormatBgr24, &map)},
        {"ExtractDifferentiationMap", KyfFocusExtractDifferentiationMap(session, KyiFormatBgr24, &map)},
        {"GetDifferentiationMap8Bit", KyfFocusGetDifferentiationMap8Bit(session, &stretched)}};
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(heights.Data, nullptr);
    EXPECT_EQ(rows.Rows, nullptr);
    EXPECT_EQ(map.Rows, nullptr);
    EXPECT_EQ(stretched.Data, nullptr);
    return results;
}

std::vector<std::pair<const char*, KyfResult>> SignedHalationCalls(KyfHalationRemoval* record) {
    const test::Image frame = Frame(2);
    KyiImageData* image = nullptr;
    std::vector<std::pair<const char*, KyfResult>> results = {
        {"Start", KyfHalationStart(record, &kSettings)},
        {"AddImage", KyfHalationAddImage(record, frame.get(), 0, nullptr)},
        {"GetRemovalImage", KyfHalationGetRemovalImage(record, &image)},
        {"ExtractRemovalImage", KyfHalationExtractRemovalImage(record, &image)}};
    EXPECT_EQ(image, nullptr);
    return results;
}

void ExpectAllInvalid(const std::vector<std::pair<const char*, KyfResult>>& results) {
    for (const auto& [name, result] : results) EXPECT_EQ(result, kInvalid) << name;
}

TEST(WrongHands, AHalationRecordIsNoSession) {
    const Halation record = HalationWithAnImage();
    Guise<KyfFocusComposition> guise(record.get(), sizeof *record);
    const Guise<KyfFocusComposition> before = guise;
    ExpectAllInvalid(SignedSessionCalls(guise.Get()));
    EXPECT_TRUE(guise.IsUnchanged(before));
}

TEST(WrongHands, ASessionIsNoHalationRecord) {
    test::Bench bench;
    bench.Initialize();
    ASSERT_EQ(bench.Start(KyfMode2DSelection), KyfResultOk);
    ASSERT_EQ(bench.Add(), KyfResultOk);
    Guise<KyfHalationRemoval> guise(bench.Session(), sizeof *bench.Session());
    const Guise<KyfHalationRemoval> before = guise;
    ExpectAllInvalid(SignedHalationCalls(guise.Get()));
    EXPECT_TRUE(guise.IsUnchanged(before));
}

// In a block of another kind nothing is trusted: what its bytes point to stays its owner's.
TEST(WrongHands, AHalationRecordBecomesASessionWithoutATouchToItsImage) {
    const Halation record = HalationWithAnImage();
    Guise<KyfFocusComposition> guise(record.get(), sizeof *record);
    const KyfFocusInitializeParameter parameter{};
    ASSERT_EQ(KyfFocusInitialize(guise.Get(), &parameter), KyfResultOk);
    EXPECT_EQ(KyfFocusStartGyre(guise.Get()), KyfResultOk);
    KyfFocusTerminate(guise.Get());
    KyiImageData* image = nullptr;
    EXPECT_EQ(KyfHalationGetRemovalImage(record.get(), &image), KyfResultOk);
    EXPECT_EQ(image->Width, 20);
}

TEST(WrongHands, TerminateTrustsNothingInAHalationRecord) {
    const Halation record = HalationWithAnImage();
    Guise<KyfFocusComposition> guise(record.get(), sizeof *record);
    KyfFocusTerminate(guise.Get());
    EXPECT_EQ(KyfFocusStartGyre(guise.Get()), KyfResultOk); // a zeroed record with a good signature
    KyiImageData* image = nullptr;
    EXPECT_EQ(KyfHalationExtractRemovalImage(record.get(), &image), KyfResultOk);
    EXPECT_EQ(image->Height, 15);
    KyiFreeImageData(image);
}

TEST(WrongHands, ASessionBecomesAHalationRecordWithoutATouchToItsImage) {
    test::Bench bench;
    bench.Initialize();
    ASSERT_EQ(bench.Start(KyfMode2DSelection), KyfResultOk);
    ASSERT_EQ(bench.Add(), KyfResultOk);
    Guise<KyfHalationRemoval> guise(bench.Session(), sizeof *bench.Session());
    ASSERT_EQ(KyfHalationInitialize(guise.Get()), KyfResultOk);
    EXPECT_EQ(KyfHalationStart(guise.Get(), &kSettings), KyfResultOk);
    EXPECT_EQ(bench.Make(), KyfResultOk);
}

TEST(WrongHands, NoSessionAtAllIsRefused) {
    ExpectAllInvalid(SignedSessionCalls(nullptr));
    KyfHeightData16bit samples{};
    EXPECT_EQ(KyfFocusGetHeightData16Bit(nullptr, &samples), kInvalid);
    EXPECT_EQ(KyfFocusGetCuttedHeightData16Bit(nullptr, &samples), kInvalid);
    EXPECT_EQ(KyfFocusGetAntNoiseHeightData16Bit(nullptr, &samples), kInvalid);
    KyfFocusInitializeParameter parameter{};
    EXPECT_EQ(KyfFocusInitialize(nullptr, &parameter), kInvalid);
    KyfFocusTerminate(nullptr);
    KyfFreeFocusComposition(nullptr);
    KyfFileFocusCompositionResult result{};
    KyfGetFileFocusCompositionResult(nullptr, 0, nullptr, 0, &result);
    KyfGetFileFocusCompositionResult(nullptr, 0, nullptr, 1, &result);
    EXPECT_EQ(result.Image, nullptr);
}

TEST(WrongHands, NoHalationRecordAtAllIsRefused) {
    ExpectAllInvalid(SignedHalationCalls(nullptr));
    EXPECT_EQ(KyfHalationInitialize(nullptr), kInvalid);
    EXPECT_EQ(KyfHalationTerminate(nullptr), kInvalid);
    KyfFreeHalationRemoval(nullptr);
}

TEST(WrongHands, NullArgumentsAreRefusedAndLeaveASessionAsItIs) {
    test::Bench bench;
    bench.Initialize();
    ASSERT_EQ(bench.Start(KyfMode2DSelection), KyfResultOk);
    for (int i = 0; i < 2; ++i) ASSERT_EQ(bench.Add(), KyfResultOk);
    KyfFocusComposition* const session = bench.Session();
    EXPECT_EQ(KyfFocusStart(session, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusStart2DSelection(session, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusStart3DSafe(session, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusStartComplexProcessing(session, nullptr, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusAddImage(session, nullptr, 0, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusAddImageWithHeight(session, nullptr, 1.0, 0, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusAddImageFile(session, nullptr, 0, nullptr), KyfResultFailFile);
    EXPECT_EQ(KyfFocusAddImageFileWidthHeight(session, nullptr, 1.0, 0, nullptr), KyfResultFailFile);
    EXPECT_EQ(KyfFocusGetCompImage(session, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusCopyCompImage(session, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusExtractCompImage(session, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusGetHeightData(session, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusGetDifferentiationMap(session, KyiFormatBgr24, nullptr), kInvalid);
    EXPECT_EQ(KyfFocusFilterHeightNoiseCut(session, nullptr), kInvalid);
    EXPECT_EQ(bench.Make(), KyfResultOk);
    EXPECT_EQ(session->State2D.FrameCount, 2);
}

TEST(WrongHands, AnEndedHalationRecordRefusesAllUntilItIsMadeAnew) {
    const Halation record = HalationWithAnImage();
    ASSERT_EQ(KyfHalationTerminate(record.get()), KyfResultOk);
    ExpectAllInvalid(SignedHalationCalls(record.get()));
    EXPECT_EQ(KyfHalationTerminate(record.get()), KyfResultOk); // nothing left to free
    ASSERT_EQ(KyfHalationInitialize(record.get()), KyfResultOk);
    ASSERT_EQ(KyfHalationStart(record.get(), &kSettings), KyfResultOk);
    EXPECT_EQ(KyfHalationAddImage(record.get(), Frame(3).get(), 0, nullptr), KyfResultOk);
}

TEST(WrongHands, AHalationRecordTakesItsCallsInAnyOrder) {
    using Call = std::function<KyfResult(KyfHalationRemoval*)>;
    const std::vector<Call> calls = {
        [](auto* record) { return KyfHalationInitialize(record); },
        [](auto* record) { return KyfHalationStart(record, &kSettings); },
        [](auto* record) { return KyfHalationAddImage(record, Frame(1).get(), 0, nullptr); },
        [](auto* record) {
            const test::Image misfit = test::TexturedImage(7, 5, KyiFormatGray8, 1);
            return KyfHalationAddImage(record, misfit.get(), 0, nullptr);
        },
        [](auto* record) { return KyfHalationTerminate(record); },
        [](auto* record) {
            KyiImageData* image = nullptr;
            return KyfHalationGetRemovalImage(record, &image);
        },
        [](auto* record) {
            KyiImageData* image = nullptr;
            const KyfResult result = KyfHalationExtractRemovalImage(record, &image);
            KyiFreeImageData(image);
            return result;
        }};
    // All sequences of five.
    for (std::size_t word = 0; word < 7 * 7 * 7 * 7 * 7; ++word) {
        const Halation record(KyfAllocHalationRemoval());
        for (std::size_t rest = word, step = 0; step < 5; ++step, rest /= 7) {
            const KyfResult result = calls[rest % 7](record.get());
            ASSERT_TRUE(result == KyfResultOk || result == kInvalid) << word << ": " << result;
        }
    }
}

} // namespace
