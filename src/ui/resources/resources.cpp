#include "ui/resources/resources.h"

#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QRegularExpression>

#include "ui/resources/drawing.h"
#include "ui/resources/loaded_modules.h"

namespace kyfui {

namespace {

constexpr int kDragCursorNumber = 0xD1;
constexpr QSize kCursorSize(32, 32);
// What is dragged is looked for 5 pixels to the right of the pointer and below: there the cursor has its middle.
constexpr QPoint kHotSpot(11, 11);

using Entries = QHash<int, QString> Catalogue::*;

/// Of the current module, else built in.
QString Find(Entries entries, int id) {
    if (const LanguageModule* const module = CurrentModule()) {
        const auto& texts = module->Words.*entries;
        if (const auto text = texts.constFind(id); text != texts.constEnd()) return *text;
    }
    return (BuiltInModule().Words.*entries).value(id);
}

QByteArray FindPicture(int id) {
    const LanguageModule* const module = CurrentModule();
    if (module && module->Pictures.contains(id)) return module->Pictures.value(id);
    return BuiltInModule().Pictures.value(id);
}

/// "&Detail..." and, where the letter stands behind in brackets, "...(&D):" are the word alone.
QString WithoutMnemonic(QString text) {
    static const QRegularExpression behind(QStringLiteral(R"(\s*[\(（]&.[\)）])"));
    static const QRegularExpression end(QStringLiteral(R"([\s:：.…]+$)"));
    static const QRegularExpression marker(QStringLiteral("&(.)"));
    return text.remove(behind).replace(marker, QStringLiteral("\\1")).remove(end);
}

} // namespace

QString Text(int id) { return Find(&Catalogue::Texts, id); }

QString ToolTip(int id) { return Find(&Catalogue::Tips, id); }

QString AccessibleName(int id) {
    const QString name = Find(&Catalogue::Names, id);
    return name.isEmpty() ? WithoutMnemonic(Text(id)) : name;
}

void UseLanguageFont(QWidget& window) {
    const LanguageModule* const module = CurrentModule();
    if (!module) return;
    QFont font = window.font();
    QStringList families = font.families();
    for (const QString& family : module->Words.Fonts)
        if (QFontDatabase::hasFamily(family)) families += family;
    font.setFamilies(families);
    window.setFont(font);
}

QIcon Picture(int id) { return DrawingIcon(FindPicture(id)); }

QCursor DragCursor() {
    const QPixmap pixmap = DrawingPixmap(FindPicture(kDragCursorNumber), kCursorSize, qApp->devicePixelRatio());
    return pixmap.isNull() ? QCursor(Qt::SizeAllCursor) : QCursor(pixmap, kHotSpot.x(), kHotSpot.y());
}

} // namespace kyfui
