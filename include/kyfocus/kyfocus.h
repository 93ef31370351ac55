/* kyfocus: focus composition for microscope imaging. Chief header: one header a folder of the library. */
#ifndef KYFOCUS_KYFOCUS_H
#define KYFOCUS_KYFOCUS_H

#include <kyfocus/alignment.h>
#include <kyfocus/file_composition.h>
#include <kyfocus/gpu.h>
#include <kyfocus/halation.h>
#include <kyfocus/height.h>
#include <kyfocus/noise_cut.h>
#include <kyfocus/progress.h>
#include <kyfocus/session.h>
#include <kyfocus/settings.h>
#include <kyfocus/types.h>

#endif
