#include "safe3d/custom_deleter.h"

#include <utility>

#include <gtest/gtest.h>

namespace {

struct Counted {
    int Freed = 0;
};
void FreeCounted(Counted* object) { ++object->Freed; }

TEST(CCustomDeleterDeleter, FreesItsObjectOnceAndNotByItsEnd) {
    Counted object;
    {
        kyf::CCustomDeleterDeleter<Counted> holder(&object, FreeCounted);
        kyf::CCustomDeleterDeleterBase& base = holder;
        base.Delete();
        base.Delete();
        EXPECT_EQ(nullptr, holder.Get());
    }
    EXPECT_EQ(1, object.Freed);
    { const kyf::CCustomDeleterDeleter<Counted> forgotten(&object, FreeCounted); }
    EXPECT_EQ(1, object.Freed);
}

TEST(CCustomDeleterDeleter, FreesNothingThatWasHandedOver) {
    Counted object;
    kyf::CCustomDeleterDeleter<Counted> holder(&object, FreeCounted);
    EXPECT_EQ(&object, holder.Release());
    holder.Delete();
    EXPECT_EQ(0, object.Freed);
}

TEST(HeldImage, FreesEachKindOfImageAtTheEndOfItsScope) { // leaks show in the checked builds
    const kyf::HeldImage<KyfImageData> doubles(kyf::AllocDoubleImage(3, 2));
    const kyf::HeldImage<kyf::KyfImageDataUint16> samples(kyf::AllocUint16Image(3, 2));
    const kyf::HeldImage<KyiImageData> mask(KyiAllocMaskImageData(3, 2));
    EXPECT_TRUE(doubles);
    EXPECT_TRUE(samples);
    EXPECT_TRUE(mask);
    EXPECT_EQ(2, samples->Height);
}

TEST(AllocUint16Image, GivesZerosWithScaleOneAndOffsetZero) {
    const kyf::HeldImage<kyf::KyfImageDataUint16> image(kyf::AllocUint16Image(5, 3));
    ASSERT_TRUE(image);
    EXPECT_EQ(1.0, image->Scale);
    EXPECT_EQ(0.0, image->Offset);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) EXPECT_EQ(0, image->Rows[y][x]);
    EXPECT_EQ(image->Rows[0] + 5, image->Rows[1]);
}

TEST(AllocUint16Image, RefusesSizesBelowOneAndBeyondMemory) {
    EXPECT_EQ(nullptr, kyf::AllocUint16Image(0, 4));
    EXPECT_EQ(nullptr, kyf::AllocUint16Image(4, 0));
    EXPECT_EQ(nullptr, kyf::AllocUint16Image(-1, 4));
    EXPECT_EQ(nullptr, kyf::AllocUint16Image(2147483647, 2147483647));
    kyf::FreeUint16Image(nullptr);
}

} // namespace
