// Four ways to the composed image, and whose it is after each.
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "session/sessions.h"

namespace {

test::Session SessionWithImages(std::int32_t mode) {
    test::Session session = test::MakeSession();
    session->Mode = mode;
    session->State2D.CompImage = test::RandomImage(12, 9, KyiFormatBgr24, 2).release();
    session->State3D.CompImage = test::RandomImage(7, 5, KyiFormatGray16, 3).release();
    return session;
}

class ComposedImage : public testing::TestWithParam<std::int32_t> {
  protected:
    ComposedImage() : m_session(SessionWithImages(GetParam())) {}
    KyiImageData* Expected() const {
        return GetParam() == KyfMode3DSafe ? m_session->State3D.CompImage : m_session->State2D.CompImage;
    }
    test::Session m_session;
};
INSTANTIATE_TEST_SUITE_P(Modes, ComposedImage, testing::Values(0, 1, 2, 9, -1));

TEST_P(ComposedImage, HasSizeAndFormat) {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t format = 0;
    ASSERT_EQ(KyfFocusGetCompImageInfo(m_session.get(), &width, &height, &format), KyfResultOk);
    EXPECT_EQ(width, Expected()->Width);
    EXPECT_EQ(height, Expected()->Height);
    EXPECT_EQ(format, Expected()->Format);
}

TEST_P(ComposedImage, IsLent) {
    KyiImageData* image = nullptr;
    ASSERT_EQ(KyfFocusGetCompImage(m_session.get(), &image), KyfResultOk);
    EXPECT_EQ(image, Expected());
}

TEST_P(ComposedImage, IsCopiedIntoAFittingImage) {
    const test::Image copy(KyiAllocImageData(Expected()->Width, Expected()->Height, Expected()->Format));
    ASSERT_EQ(KyfFocusCopyCompImage(m_session.get(), copy.get()), KyfResultOk);
    EXPECT_TRUE(test::SameImage(*Expected(), *copy));
}

TEST_P(ComposedImage, IsHandedOverOnce) {
    KyiImageData* const expected = Expected();
    KyiImageData* taken = nullptr;
    ASSERT_EQ(KyfFocusExtractCompImage(m_session.get(), &taken), KyfResultOk);
    const test::Image owned(taken);
    EXPECT_EQ(taken, expected);
    EXPECT_EQ(Expected(), nullptr);
    ASSERT_EQ(KyfFocusExtractCompImage(m_session.get(), &taken), KyfResultOk);
    EXPECT_EQ(taken, nullptr);
    std::int32_t number = 4;
    EXPECT_EQ(KyfFocusGetCompImageInfo(m_session.get(), &number, &number, &number), KyfResultInvalidParameter);
    EXPECT_EQ(number, 4);
    EXPECT_EQ(KyfFocusMakeCompImage(m_session.get(), 0, nullptr), KyfResultInvalidParameter);
}

TEST(ComposedImageCopy, LeavesAMisfitAsItWas) {
    const test::Session session = SessionWithImages(0);
    const struct {
        std::int32_t Width, Height, Format;
    } misfits[] = {{13, 9, KyiFormatBgr24}, {12, 8, KyiFormatBgr24}, {12, 9, KyiFormatBgr24Alternate}};
    for (const auto& misfit : misfits) {
        const test::Image image = test::RandomImage(misfit.Width, misfit.Height, misfit.Format, 8);
        const std::vector<std::int32_t> before = test::ToPlanes(*image);
        EXPECT_EQ(KyfFocusCopyCompImage(session.get(), image.get()), KyfResultInvalidParameter);
        EXPECT_EQ(test::ToPlanes(*image), before);
    }
}

TEST(ComposedImageCalls, RefuseNullAndBadSignatures) {
    const test::Session session = SessionWithImages(0);
    const test::Session raw(KyfAllocFocusComposition());
    const test::Image fitting = test::RandomImage(12, 9, KyiFormatBgr24, 1);
    KyiImageData* image = fitting.get();
    std::int32_t number = 0;
    for (KyfFocusComposition* const bad : {raw.get(), static_cast<KyfFocusComposition*>(nullptr)}) {
        EXPECT_EQ(KyfFocusGetCompImageInfo(bad, &number, &number, &number), KyfResultInvalidParameter);
        EXPECT_EQ(KyfFocusGetCompImage(bad, &image), KyfResultInvalidParameter);
        EXPECT_EQ(KyfFocusCopyCompImage(bad, fitting.get()), KyfResultInvalidParameter);
        EXPECT_EQ(KyfFocusExtractCompImage(bad, &image), KyfResultInvalidParameter);
    }
    EXPECT_EQ(KyfFocusGetCompImageInfo(session.get(), nullptr, &number, &number), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusGetCompImageInfo(session.get(), &number, nullptr, &number), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusGetCompImageInfo(session.get(), &number, &number, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusGetCompImage(session.get(), nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusCopyCompImage(session.get(), nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusExtractCompImage(session.get(), nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(image, fitting.get());
}

} // namespace
