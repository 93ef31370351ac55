/// State of the process: the language module's name.
///
/// A plain variable: a host sets it before work starts.
#ifndef KYFOCUS_SESSION_START_UP_H
#define KYFOCUS_SESSION_START_UP_H

#include <string>

#include <kyfocus/session.h>

namespace kyf {

/// File name of the dialogs' resource module; empty until a host or the first dialog names one.
extern std::wstring g_resourceName;

} // namespace kyf

#endif
