// Random calls of all exports, by way of the fuzz targets: soak [ROUNDS [SEED]]. Fails where memory is lost
// or grows. A round is a handful of calls; without arguments it makes about a million.
#include <malloc.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "support/frames.h"

// clang-format off
#define ENTRIES \
  ENTRY(fuzz_alpha) ENTRY(fuzz_compose) ENTRY(fuzz_levels) ENTRY(fuzz_map_polygon) ENTRY(fuzz_map_rect) ENTRY(fuzz_raster)
// clang-format on

using Entry = int(const uint8_t* data, size_t size);
#define ENTRY(name) extern "C" Entry name;
ENTRIES
#undef ENTRY

namespace {

#define ENTRY(name) name,
constexpr Entry* kEntries[] = {ENTRIES};
#undef ENTRY

size_t bytes_in_use() {
  return mallinfo2().uordblks;
}

size_t resident_pages() {
  size_t total = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident;
}

void run(dorbmp::test::Random& random, int64_t rounds) {
  for (int64_t round = 0; round < rounds; ++round) {
    uint8_t bytes[160];
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random.next());
    kEntries[random.between(0, std::size(kEntries) - 1)](bytes, sizeof(bytes));
  }
}

}  // namespace

int main(int count, char** arguments) {
  const int64_t rounds = count > 1 ? std::atoll(arguments[1]) : 200000;
  dorbmp::test::Random random(count > 2 ? static_cast<uint64_t>(std::atoll(arguments[2])) : 1);
  run(random, rounds / 10 + 100);  // whatever is built once is built
  const size_t bytes = bytes_in_use(), pages = resident_pages();
  run(random, rounds);
  const size_t bytes_after = bytes_in_use(), pages_after = resident_pages();
  std::printf("%lld rounds: %zu bytes in use, %zu before; %zu pages resident, %zu before\n",
              static_cast<long long>(rounds), bytes_after, bytes, pages_after, pages);
  // The allocator's own slack may grow by a few pages, not with the number of calls.
  return bytes_after > bytes + 4096 || pages_after > pages + 512 ? 1 : 0;
}
