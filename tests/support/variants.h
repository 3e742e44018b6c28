// Runs a test once per instruction set that this machine has.
#pragma once

#include <cstdio>
#include <gtest/gtest.h>

#include "kernels/kernels.h"

namespace qv::test {

/// Calls body() with each supported instruction set active, the plainest first, and restores the choice.
template <class Body>
void ForEachVariant(Body body) {
  const kernels::KernelTable& chosen = kernels::Active();
  for (const kernels::KernelTable* variant : kernels::kVariants) {
    if (!variant->supported()) {
      std::printf("[ SKIPPED  ] instruction set %s: not supported by this processor\n", variant->name);
      continue;
    }
    SCOPED_TRACE(variant->name);
    kernels::SetActive(*variant);
    body();
  }
  kernels::SetActive(chosen);
}

}  // namespace qv::test
