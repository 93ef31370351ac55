/// Boxes and small black letters in pictures of 8-bit colour. The letters: digits, signs, Latin letters, micro, degree.
#ifndef KYFOCUS_APP_DRAWING_H
#define KYFOCUS_APP_DRAWING_H

#include <string>

#include <kyimaging/kyimaging.h>

namespace app {

/// A colour of 8 bits a channel.
struct Bgr {
    unsigned char Blue, Green, Red;
};

/// Fills a rectangle, clipped to the image.
void FillRectangle(KyiImageData& image, int x, int y, int width, int height, Bgr colour);

constexpr int kGlyphHeight = 7; // capitals and digits, in dots; two more below for g, p and their like

/// Width of a text drawn with dots of `dot` pixels. Characters without a glyph are drawn as boxes.
int TextWidth(const std::wstring& text, int dot);

/// Draws a text in black; its top left corner lies at x, y. What reaches beyond the image is left out.
void DrawLabel(KyiImageData& image, const std::wstring& text, int x, int y, int dot);

} // namespace app

#endif
