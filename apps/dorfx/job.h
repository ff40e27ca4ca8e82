// The whole work: clips in, result and contact sheet out.
#pragma once

#include "dorfx/options.h"

namespace dorfx {

// Throws Failure, UsageError, or Interrupted after giving the unfinished result its name.
void run(const Options& options);

}  // namespace dorfx
