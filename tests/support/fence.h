// Memory between two pages that fault: gathers and other loads that no sanitizer sees.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#ifndef _WIN32
#include <sys/mman.h>
#endif

namespace dorbmp::test {

class Fence {
 public:
#ifndef _WIN32
  Fence() : mapping_(mmap(nullptr, kBytes + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    mprotect(inside(), kBytes, PROT_READ | PROT_WRITE);
  }
  ~Fence() {
    munmap(mapping_, kBytes + 2 * kPage);
  }
#else
  Fence() : memory_(kBytes + 2 * kPage), mapping_(memory_.data()) {}
#endif
  Fence(const Fence&) = delete;
  Fence& operator=(const Fence&) = delete;

  // A copy that touches the fence with its first or with its last byte.
  uint8_t* copy(const std::vector<uint8_t>& bytes, bool at_end) {
    uint8_t* const to = inside() + (at_end ? kBytes - bytes.size() : 0);
    std::memcpy(to, bytes.data(), bytes.size());
    return to;
  }

 private:
  static constexpr size_t kPage = 65536, kBytes = 65536;
  uint8_t* inside() {
    return static_cast<uint8_t*>(mapping_) + kPage;
  }

#ifdef _WIN32
  std::vector<uint8_t> memory_;
#endif
  void* mapping_;
};

}  // namespace dorbmp::test
