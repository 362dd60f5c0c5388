// What the module shows to its clients besides what its link map names.
#pragma once

#if defined(_WIN32)
#define ZOREL_EXPORT
#else
#define ZOREL_EXPORT __attribute__((visibility("default")))
#endif
