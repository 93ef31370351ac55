#include <kyimaging/kyimaging.h>
