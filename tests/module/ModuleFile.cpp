#include "module/EffectTest.h"

const char* const lomix::host::kModuleFile = LOMIX_MODULE_FILE;
