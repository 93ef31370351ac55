#include "ui/dialogs/application.h"

#include <clocale>
#include <string>

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

/// The toolkit takes the locale of the environment; a host that has not asked for it keeps its own decimal point.
class KeptLocale {
  public:
    KeptLocale() : m_before(std::setlocale(LC_ALL, nullptr)) {}
    ~KeptLocale() { std::setlocale(LC_ALL, m_before.c_str()); }
    KeptLocale(const KeptLocale&) = delete;
    KeptLocale& operator=(const KeptLocale&) = delete;

  private:
    std::string m_before;
};

} // namespace

bool HaveApplication() {
    if (!CanShowDialogs()) return false;
    if (QCoreApplication::instance() != nullptr) return true;
    const KeptLocale kept;
    static CommandLine line;
    static QApplication* const application = new QApplication(line.Count, line.Words); // never deleted
    return application == QCoreApplication::instance();
}

} // namespace kyfui
