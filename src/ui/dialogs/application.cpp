#include "ui/dialogs/application.h"

#include <QApplication>

#include "ui/display/display.h"

namespace kyfui {

namespace {

/// The toolkit keeps addresses into it; a host that is no Qt program has none for it.
struct CommandLine {
    int Count = 1;
    char Program[8] = "kyfocus";
    char* Words[2] = {Program, nullptr};
};

} // namespace

bool HaveApplication() {
    if (!CanShowDialogs()) return false;
    if (QCoreApplication::instance() != nullptr) return true;
    static CommandLine line;
    static QApplication* const application = new QApplication(line.Count, line.Words); // never deleted
    return application == QCoreApplication::instance();
}

} // namespace kyfui
