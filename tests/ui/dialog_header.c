/* A C host sees the call through its header alone. */
#include <kyfocus/ui/set_parameter.h>

typedef int32_t (*SetParameter)(KyfFocusCompositionParameter*, const int32_t*);

SetParameter CallSeenFromC(void);
SetParameter CallSeenFromC(void) { return &KyfSetFocusCompositionParameter; }
