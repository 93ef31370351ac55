/// Content of a language module: its texts, and its drawings as SVG.
#ifndef KYFOCUS_UI_LANGUAGE_MODULE_H
#define KYFOCUS_UI_LANGUAGE_MODULE_H

#include <optional>
#include <string>

#include <QByteArray>
#include <QHash>

#include "ui/resources/catalogue.h"

namespace kyfui {

struct LanguageModule {
    Catalogue Words;
    QHash<int, QByteArray> Pictures; // by number
};

/// The texts and drawings inside the library: English.
const LanguageModule& BuiltInModule();

/// Reads a module file. Nothing when there is none, or when it is damaged. Throws std::bad_alloc.
std::optional<LanguageModule> ReadModule(const std::string& path);

} // namespace kyfui

#endif
