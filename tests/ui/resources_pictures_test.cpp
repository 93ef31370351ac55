// Drawings of the image buttons and the cursor of the area squares.
#include <algorithm>
#include <cmath>
#include <utility>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <gtest/gtest.h>

#include "ui/resources/drawing.h"
#include "ui/resources/resources.h"
#include "ui/resources/text_ids.h"

namespace {

using namespace kyfui;

constexpr int kPictures[] = {kIdBottomPicture, kIdTopPicture, kIdOtherPicture};

QImage Draw(int id, const QColor& ground, int width, QIcon::Mode mode = QIcon::Normal) {
    QImage image(width, width * 3 / 4, QImage::Format_RGB32);
    image.fill(ground);
    QPainter painter(&image);
    Picture(id).paint(&painter, image.rect(), Qt::AlignCenter, mode);
    return image;
}

/// Share of the pixels that stand out from the ground, and the greatest difference of brightness to it.
struct Contrast {
    double Share;
    int Most;
};

Contrast ContrastOf(const QImage& image, const QColor& ground) {
    Contrast contrast{0, 0};
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int difference = std::abs(qGray(image.pixel(x, y)) - qGray(ground.rgb()));
            contrast.Share += difference > 40 ? 1.0 / (image.width() * image.height()) : 0;
            contrast.Most = std::max(contrast.Most, difference);
        }
    }
    return contrast;
}

/// A palette for the time of a test.
class WithPalette {
  public:
    explicit WithPalette(const QColor& button, const QColor& text) : m_before(QApplication::palette()) {
        QPalette palette(text, button, button.lighter(), button.darker(), button, text, Qt::white, button, button);
        QApplication::setPalette(palette);
    }
    ~WithPalette() { QApplication::setPalette(m_before); }
    WithPalette(const WithPalette&) = delete;
    WithPalette& operator=(const WithPalette&) = delete;

  private:
    QPalette m_before;
};

TEST(Pictures, CanBeSeenInLightAndDarkPalettesAtEverySize) {
    const std::pair<QColor, QColor> palettes[] = {{QColor(239, 239, 239), Qt::black}, {QColor(45, 45, 45), Qt::white}};
    for (const auto& [ground, text] : palettes) {
        const WithPalette palette(ground, text);
        for (const int id : kPictures) {
            for (const int width : {32, 64, 128}) {
                const Contrast contrast = ContrastOf(Draw(id, ground, width), ground);
                EXPECT_GT(contrast.Share, 0.06) << id << " at " << width;
                EXPECT_LT(contrast.Share, 0.7) << id << " at " << width;
                EXPECT_GT(contrast.Most, 120) << id << " at " << width;
            }
        }
    }
}

TEST(Pictures, DifferFromEachOtherAndMarkThePlane) {
    QImage drawn[3];
    for (int i = 0; i < 3; ++i) drawn[i] = Draw(kPictures[i], Qt::white, 64);
    EXPECT_NE(drawn[0], drawn[1]);
    EXPECT_NE(drawn[1], drawn[2]);
    EXPECT_NE(drawn[0], drawn[2]);
    const auto firstMarkedRow = [](const QImage& image) {
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (qRed(image.pixel(x, y)) > qBlue(image.pixel(x, y)) + 100) return y;
        return -1;
    };
    EXPECT_GT(firstMarkedRow(drawn[0]), 30);
    EXPECT_NEAR(firstMarkedRow(drawn[1]), 10, 3);
}

TEST(Pictures, ArePalerWhenTheyAreDisabled) {
    for (const int id : kPictures)
        EXPECT_LT(ContrastOf(Draw(id, Qt::white, 64, QIcon::Disabled), Qt::white).Most,
                  ContrastOf(Draw(id, Qt::white, 64), Qt::white).Most);
}

TEST(Pictures, HaveThePixelsOfTheScreenTheyAreFor) {
    const QPixmap pixmap = Picture(kIdTopPicture).pixmap(QSize(64, 48), 2.0);
    EXPECT_EQ(pixmap.size(), QSize(128, 96));
    EXPECT_EQ(pixmap.devicePixelRatio(), 2.0);
    EXPECT_EQ(pixmap.toImage().pixelColor(0, 0).alpha(), 0);
}

TEST(Pictures, AreNullForNumbersWithoutOne) {
    EXPECT_TRUE(Picture(kIdSpeed).isNull());
    EXPECT_TRUE(DrawingIcon("no drawing").isNull());
    EXPECT_TRUE(DrawingPixmap("<svg", QSize(8, 8), 1).isNull());
}

TEST(DragCursor, HasItsMiddleFivePixelsBehindTheHotSpot) {
    const QCursor cursor = DragCursor();
    const QImage image = cursor.pixmap().toImage();
    ASSERT_EQ(cursor.pixmap().deviceIndependentSize(), QSizeF(32, 32));
    double sumX = 0;
    double sumY = 0;
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).alpha() < 128) continue;
            sumX += x + 0.5;
            sumY += y + 0.5;
            ++count;
        }
    }
    ASSERT_GT(count, 50);
    EXPECT_NEAR(sumX / count / image.devicePixelRatio(), cursor.hotSpot().x() + 5, 0.5);
    EXPECT_NEAR(sumY / count / image.devicePixelRatio(), cursor.hotSpot().y() + 5, 0.5);
    EXPECT_EQ(image.pixelColor(image.rect().center()).alpha(), 0) << "what is dragged stays in sight";
}

} // namespace
