/* A host without a toolkit of its own: lets the user set the parameters of a composition in the modal dialog. Prints
 * what was chosen. */
#include <stdio.h>

#include <kyfocus/kyfocus.h>
#include <kyfocus/ui/display.h>
#include <kyfocus/ui/set_parameter.h>

int main(void) {
    if (!KyfCanShowDialogs()) {
        puts("no display");
        return 1;
    }
    KyfSetLanguageType(0); /* English */
    KyfFocusCompositionParameter parameter;
    KyfLoadFocusCompositionParameter(&parameter, L""); /* the defaults */
    const int accepted = KyfSetFocusCompositionParameter(&parameter, NULL);
    printf("accepted %d AlgType %d CompSize %d\n", accepted, (int)parameter.AlgType, (int)parameter.CompSize);
    return 0;
}
