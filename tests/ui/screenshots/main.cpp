// Shows every dialog in every language, in a light and a dark palette, and puts the pictures on one sheet a language.
//
// Usage: ui_screenshots FOLDER. Uses the installed interface alone: what is seen is what a host gets.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <utility>
#include <vector>

#include <QApplication>
#include <QDialog>
#include <QHash>
#include <QImageWriter>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QPushButton>
#include <QSet>
#include <QStyle>
#include <QTimer>
#include <kyfocus/composition_setting.h>
#include <kyfocus/session.h>
#include <kyfocus/ui/control_id.h>
#include <kyfocus/ui/set_parameter.h>

namespace {

constexpr int kManualButton = 0xFA7;
constexpr int kPositioningButton = 0xFAF;
constexpr int kDetailButton = 0xFB1;
constexpr int kPauseMs = 50;
constexpr int kMargin = 12;
constexpr int kTitleHeight = 28;

struct Shot {
    QString Title;
    QPixmap Picture;
};
using Shots = std::vector<Shot>;

QPalette LightPalette() { return QApplication::style()->standardPalette(); }

QPalette DarkPalette() {
    const QColor text(230, 230, 230);
    QPalette palette(text, QColor(64, 64, 64), QColor(100, 100, 100), QColor(36, 36, 36), QColor(80, 80, 80), text,
                     Qt::white, QColor(32, 32, 32), QColor(56, 56, 56));
    palette.setColor(QPalette::Highlight, QColor(60, 120, 200));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(130, 130, 130));
    return palette;
}

/// Takes a picture of the dialog that comes up next, does something in it and leaves it.
void WhenShown(Shots& shots, const std::function<void(QWidget*)>& then) {
    QTimer::singleShot(kPauseMs, [&shots, then] {
        QWidget* const dialog = QApplication::activeModalWidget();
        if (!dialog) return WhenShown(shots, then);
        shots.push_back({dialog->windowTitle(), dialog->grab()});
        then(dialog);
        static_cast<QDialog*>(dialog)->reject();
    });
}

void Press(Shots& shots, const QWidget* dialog, int button) {
    WhenShown(shots, [](QWidget*) {});
    KyfFindControl<QPushButton>(dialog, button)->click();
}

/// One page of the parameter dialog, then the dialogs that its buttons open.
void TakePage(Shots& shots, KyfAlgorithmType page, const std::vector<int>& buttons) {
    CKyfFocusCompositionSetting setting;
    setting.SetAlgType(page);
    setting.Set2DSelectionFocusCompositionMode(3);
    setting.SetAutoPos(1);
    setting.SetAreaNo(2);
    KyfFocusCompositionParameter parameter = setting.Get();
    WhenShown(shots, [&](QWidget* dialog) {
        for (const int button : buttons) Press(shots, dialog, button);
    });
    KyfSetFocusCompositionParameter(&parameter, nullptr);
}

Shots TakeAll(const QPalette& palette) {
    QApplication::setPalette(palette);
    Shots shots;
    TakePage(shots, KyfAlgorithmType2DSelection, {kManualButton, kPositioningButton});
    TakePage(shots, KyfAlgorithmType3DSafe, {kDetailButton});
    return shots;
}

/// One row of pictures with their titles, on the ground of the palette.
QImage Row(const Shots& shots, const QPalette& palette) {
    QSize size(kMargin, 0);
    for (const Shot& shot : shots)
        size = {size.width() + shot.Picture.width() + kMargin, std::max(size.height(), shot.Picture.height())};
    QImage image(size + QSize(0, kTitleHeight + kMargin), QImage::Format_RGB32);
    image.fill(palette.color(QPalette::Dark));
    QPainter painter(&image);
    painter.setPen(palette.color(QPalette::BrightText));
    int x = kMargin;
    for (const Shot& shot : shots) {
        painter.drawText(QRect(x, 0, shot.Picture.width(), kTitleHeight), Qt::AlignVCenter, shot.Title);
        painter.drawPixmap(x, kTitleHeight, shot.Picture);
        x += shot.Picture.width() + kMargin;
    }
    return image;
}

/// In 256 colours: the most frequent ones, and of the others that look alike the most frequent one each. A third of the
/// bytes, and hardly a difference to be seen.
QImage InFewColours(const QImage& image) {
    constexpr qsizetype kFrequent = 160;
    constexpr qsizetype kMost = 256;
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) ++counts[image.pixel(x, y)];
    QList<QRgb> colours = counts.keys();
    std::sort(colours.begin(), colours.end(),
              [&](QRgb a, QRgb b) { return std::pair(counts[a], a) > std::pair(counts[b], b); });
    QList<QRgb> kept;
    QSet<QRgb> looks; // by the upper bits
    for (const QRgb colour : colours) {
        if (kept.size() == kMost) break;
        if (kept.size() >= kFrequent && looks.contains(colour & 0xE0E0E0)) continue;
        looks.insert(colour & 0xE0E0E0);
        kept += colour;
    }
    return image.convertToFormat(QImage::Format_Indexed8, kept, Qt::ThresholdDither | Qt::AvoidDither);
}

bool SaveSheet(const QString& path, const QImage& light, const QImage& dark) {
    QImage sheet(std::max(light.width(), dark.width()), light.height() + dark.height(), QImage::Format_RGB32);
    sheet.fill(Qt::gray);
    QPainter painter(&sheet);
    painter.drawImage(0, 0, light);
    painter.drawImage(0, light.height(), dark);
    painter.end();
    QImageWriter writer(path);
    writer.setCompression(100);
    const bool isWritten = writer.write(InFewColours(sheet));
    if (!isWritten) std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(writer.errorString()));
    return isWritten;
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc != 2) return std::fprintf(stderr, "usage: ui_screenshots FOLDER\n"), 2;
    QApplication::setStyle(QStringLiteral("Fusion"));
    const QString folder = QString::fromLocal8Bit(argv[1]);
    int language = 0;
    bool isWritten = true;
    for (const char* name : {"eng", "jpn", "kor", "zh-hant", "zh-hans"}) {
        KyfSetLanguageType(language++);
        const QImage light = Row(TakeAll(LightPalette()), LightPalette());
        const QImage dark = Row(TakeAll(DarkPalette()), DarkPalette());
        isWritten = SaveSheet(folder + QStringLiteral("/dialogs-") + QLatin1String(name) + QStringLiteral(".png"),
                              light, dark) &&
                    isWritten;
    }
    return isWritten ? 0 : 1;
}
