// Converts words to arguments of a call.
#pragma once

#include "hosts/cli/single_call.h"

inline vxkernel::Argument argument_of(const std::string& word) {
  const host::Value value = host::value_of(word);
  return value.is_text() ? vxkernel::Argument(value.word) : vxkernel::Argument(value.number);
}
