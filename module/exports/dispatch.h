// The dispatchers: one evaluation of FINANCE (wide characters) and of FINANCE# (byte strings).
#pragma once

#include "abi/kernel_records.h"

#pragma GCC visibility push(default)
extern "C" {
// Both return 0, or 120836 for any failure. They have no state, so any number of threads may call
// them at the same time.
vxfnc::Dispatcher fncfin;
vxfnc::Dispatcher fncfinS;
}
#pragma GCC visibility pop
