// The dispatchers: one evaluation of FINANCE (wide characters) and of FINANCE# (byte strings).
#pragma once

#include "abi/kernel_records.h"

#pragma GCC visibility push(default)
extern "C" {
// Each answers 0, or 120836 for any failure, sign-extended; whatever they keep is in their frames,
// so any number of threads may call them at once.
vxfnc::Dispatcher fncfin;
vxfnc::Dispatcher fncfinS;
}
#pragma GCC visibility pop
