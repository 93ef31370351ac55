// Stands in the place of the dialogs' library: what the user does is in the environment variable KY_USER.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <kyfocus/resource.h>
#include <kyfocus/ui/display.h>
#include <kyfocus/ui/set_parameter.h>

namespace {

std::string User() {
    const char* const user = std::getenv("KY_USER");
    return user ? user : "";
}

void* TellName(const wchar_t* name) {
    std::fprintf(stderr, "module %ls\n", name);
    return nullptr;
}

} // namespace

KyiBool KyfCanShowDialogs() { return User() != "without a display"; }

int32_t KyfSetFocusCompositionParameter(KyfFocusCompositionParameter* parameter, const int32_t*) {
    KyfSetResourceLoader(&TellName, nullptr);
    const CKYFocusResource resource;
    parameter->Speed += 1;
    parameter->CompSize = 17;
    return User() == "presses OK";
}
