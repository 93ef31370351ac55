/// Text catalogues: readable files with one line an entry, UTF-8.
///
///     # A comment
///     0xFA1 = &2D
///     0xFA1 tip = Takes each pixel from\nits sharpest frame.
///     0xFA1 name = 2D composition
///
///     fonts = Noto Sans CJK JP, IPAexGothic
///
/// "tip" is the tool tip of a number, "name" its name for screen readers where the text does not serve as one. "\n"
/// breaks a line, "\\" is a backslash. "fonts" names the families with the language's own forms of characters that it
/// shares with others, the best first.
#ifndef KYFOCUS_UI_CATALOGUE_H
#define KYFOCUS_UI_CATALOGUE_H

#include <optional>

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

namespace kyfui {

struct Catalogue {
    QHash<int, QString> Texts;
    QHash<int, QString> Tips;
    QHash<int, QString> Names;
    QStringList Fonts;
};

/// Nothing when a line is no entry, when an entry comes twice, or when bytes are no UTF-8: the file is damaged.
std::optional<Catalogue> ReadCatalogue(const QByteArray& file);

} // namespace kyfui

#endif
