#include <cstdlib>
#include <stdlib.h>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>

namespace {

double ScaleWith(const char* text) {
    if (text)
        setenv("KYI_DISPLAY_SCALE", text, 1);
    else
        unsetenv("KYI_DISPLAY_SCALE");
    const double scale = KyiGetWindowScalingDisplayMagnificationValue();
    unsetenv("KYI_DISPLAY_SCALE");
    return scale;
}

TEST(DisplayScale, IsOneWithoutTheVariable) { EXPECT_EQ(ScaleWith(nullptr), 1.0); }

TEST(DisplayScale, IsTheNumberInTheVariable) {
    EXPECT_EQ(ScaleWith("1.5"), 1.5);
    EXPECT_EQ(ScaleWith("2"), 2.0);
    EXPECT_EQ(ScaleWith("1e-3"), 1e-3);
}

TEST(DisplayScale, IsOneForWhatIsNoPositiveFiniteNumber) {
    for (const char* const text : {"", "x", "2x", " 2", "0", "-1", "nan", "inf", "1e999", "1,5"})
        EXPECT_EQ(ScaleWith(text), 1.0) << text;
}

} // namespace
