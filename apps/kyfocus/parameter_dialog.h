/// The parameter dialog, from a library that is opened when it is asked for: the program needs no toolkit.
#ifndef KYFOCUS_APP_PARAMETER_DIALOG_H
#define KYFOCUS_APP_PARAMETER_DIALOG_H

#include <map>
#include <string>
#include <string_view>

#include <kyfocus/settings.h>

namespace app {

/// Languages of the dialog, with the numbers of KyfSetLanguageType.
const std::map<std::string, int>& DialogLanguages();

/// Number of the language for a locale such as "ja_JP.UTF-8"; English for all that has no dialog of its own.
int LanguageOfLocale(std::string_view locale);

/// The locale of messages that the environment names; empty without one.
std::string MessageLocale();

/// Shows the settings and waits for the user.
/// @return false on Cancel, with the settings as they were. Throws Failure when the library is not installed beside the
///         other ones, cannot be loaded, or finds no display.
bool EditParameters(KyfFocusCompositionParameter& settings, int language);

} // namespace app

#endif
