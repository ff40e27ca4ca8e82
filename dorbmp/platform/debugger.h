// The debugger's message window, or what stands in for it.
#pragma once

namespace dorbmp::platform {

// Hands text over as it is, without a line end: to the debugger on Windows, to the standard error elsewhere.
void output_to_debugger(const char* text);

}  // namespace dorbmp::platform
