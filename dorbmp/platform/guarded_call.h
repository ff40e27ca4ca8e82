// A call that may fault.
#pragma once

namespace dorbmp::platform {

// Calls action; returns false if it raised a processor exception, of whatever kind, which is then dealt with.
// Used once, at load; the handler it needs is removed before it returns.
bool guarded_call(void (*action)());

}  // namespace dorbmp::platform
