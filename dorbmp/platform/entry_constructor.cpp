#include "dorbmp/load.h"

const bool dorbmp::platform::entry_is_linked = true;

// The earliest priority open to programs: a host's own static objects may already call the exports.
[[gnu::constructor(101)]] static void on_load() {
  dorbmp::library_entry(nullptr, dorbmp::kProcessAttach, nullptr);
}
