/// Text of widgets as the rules of the slider and edit pair take it.
///
/// The folder puts the rules of the pair behind a QLineEdit and a QSlider. It uses Qt and the rules.
#ifndef KYFOCUS_UI_CONTROLS_TYPED_TEXT_H
#define KYFOCUS_UI_CONTROLS_TYPED_TEXT_H

#include <cstdint>
#include <string>

#include <QString>

namespace kyfui {

/// Whether every character passes the filter of a parse type.
bool AcceptsAll(std::uint16_t parseType, const QString& text);

/// The characters that pass, in order.
QString AcceptedPart(std::uint16_t parseType, const QString& text);

/// For the number rules: decimal digits of any script, which input methods give, become those of ASCII.
std::wstring WithPlainDigits(const QString& text);

/// What an input method or a keyboard on the screen should offer.
Qt::InputMethodHints HintsFor(std::uint16_t parseType);

} // namespace kyfui

#endif
