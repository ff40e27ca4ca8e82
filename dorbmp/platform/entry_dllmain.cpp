#include <windows.h>

#include "dorbmp/load.h"

const bool dorbmp::platform::entry_is_linked = true;

static_assert(dorbmp::kProcessAttach == DLL_PROCESS_ATTACH);

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
  return dorbmp::library_entry(module, static_cast<uint32_t>(reason), reserved);
}
