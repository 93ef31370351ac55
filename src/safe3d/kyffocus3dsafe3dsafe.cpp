// The add half of 3D safe composition. This build has no pipeline behind it.
#include <kyimaging/functracelog.h>

#include "safe3d/safe3d.h"

namespace kyf {

KyfResult Kyf3DSafeAddImage(KyfFocusComposition* /*session*/, KyiImageData* /*frame*/, KyiBool /*takeOwnership*/,
                            KyiBool& ownershipTaken, KyiBool /*parallel*/, KyfProgress* /*progress*/) {
    const CFuncTraceLog trace(
        __FILE__, __LINE__,
        L"Kyf3DSafeAddImage( KyfFocusComposition*, KyiImageData*, BOOL, BOOL&, BOOL, KyfProgress* )", 0);
    ownershipTaken = 0;
    trace.Trace(__FILE__, __LINE__, L"KyfResultInvalidParameter", L": 3D safe composition is not part of this build");
    return KyfResultInvalidParameter;
}

} // namespace kyf
