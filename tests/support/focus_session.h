/// A focus session that its owner frees.
#ifndef KYFOCUS_TESTS_SUPPORT_FOCUS_SESSION_H
#define KYFOCUS_TESTS_SUPPORT_FOCUS_SESSION_H

#include <memory>

#include <kyfocus/session.h>

namespace test {

struct FreeSession {
    void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
};
using Session = std::unique_ptr<KyfFocusComposition, FreeSession>;

} // namespace test

#endif
