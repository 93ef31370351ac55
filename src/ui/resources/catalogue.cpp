#include "ui/resources/catalogue.h"

#include <QStringDecoder>

namespace kyfui {

namespace {

/// Nothing for a backslash before any other character.
std::optional<QString> Unescape(const QString& text) {
    QString plain;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\') {
            plain += text[i];
            continue;
        }
        if (++i == text.size()) return std::nullopt;
        if (text[i] != u'n' && text[i] != u'\\') return std::nullopt;
        plain += text[i] == u'n' ? QChar(u'\n') : text[i];
    }
    return plain;
}

QHash<int, QString>* KindOf(const QStringList& words, Catalogue& catalogue) {
    if (words.size() == 1) return &catalogue.Texts;
    if (words.size() != 2) return nullptr;
    if (words[1] == u"tip") return &catalogue.Tips;
    return words[1] == u"name" ? &catalogue.Names : nullptr;
}

bool AddFonts(const QString& names, Catalogue& catalogue) {
    if (!catalogue.Fonts.isEmpty()) return false;
    for (const QString& name : names.split(u',')) catalogue.Fonts += name.trimmed();
    return !catalogue.Fonts.contains(QString());
}

bool AddLine(const QString& line, Catalogue& catalogue) {
    const qsizetype equals = line.indexOf(u'=');
    if (equals < 0) return false;
    const QStringList words = line.left(equals).simplified().split(u' ');
    if (words == QStringList(QStringLiteral("fonts"))) return AddFonts(line.mid(equals + 1), catalogue);
    QHash<int, QString>* const entries = KindOf(words, catalogue);
    const std::optional<QString> text = Unescape(line.mid(equals + 1).trimmed());
    bool isNumber = false;
    const int number = words[0].toInt(&isNumber, 0);
    if (!entries || !text || text->isEmpty() || !isNumber || entries->contains(number)) return false;
    entries->insert(number, *text);
    return true;
}

} // namespace

std::optional<Catalogue> ReadCatalogue(const QByteArray& file) {
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(file);
    if (decoder.hasError()) return std::nullopt;
    Catalogue catalogue;
    for (const QString& entry : text.split(u'\n')) {
        const QString line = entry.trimmed();
        if (!line.isEmpty() && !line.startsWith(u'#') && !AddLine(line, catalogue)) return std::nullopt;
    }
    return catalogue;
}

} // namespace kyfui
