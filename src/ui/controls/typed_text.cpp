#include "ui/controls/typed_text.h"

#include <algorithm>

#include <QList>

#include "ui/rules/key_filter.h"

namespace kyfui {

namespace {

CharacterKind KindOf(char32_t character) {
    if (QChar::isDigit(character)) return CharacterKind::Digit;
    return QChar::isLetter(character) ? CharacterKind::Letter : CharacterKind::Other;
}

} // namespace

bool AcceptsAll(std::uint16_t parseType, const QString& text) {
    return std::ranges::all_of(text.toUcs4(), [&](char32_t c) { return IsAccepted(parseType, c, KindOf(c)); });
}

QString AcceptedPart(std::uint16_t parseType, const QString& text) {
    QString accepted;
    for (const char32_t c : text.toUcs4())
        if (IsAccepted(parseType, c, KindOf(c))) accepted += QString::fromUcs4(&c, 1);
    return accepted;
}

std::wstring WithPlainDigits(const QString& text) {
    QString plain;
    for (const char32_t c : text.toUcs4())
        plain += QChar::isDigit(c) ? QString::number(QChar::digitValue(c)) : QString::fromUcs4(&c, 1);
    return plain.toStdWString();
}

Qt::InputMethodHints HintsFor(std::uint16_t parseType) {
    switch (parseType) {
    case 0x01: return Qt::ImhDigitsOnly;
    case 0x04:
    case 0x10:
    case 0x11: return Qt::ImhFormattedNumbersOnly;
    default: return Qt::ImhNone;
    }
}

} // namespace kyfui
