// Ctrl-C: the work stops at the next frame, and what was made is kept. Nothing that ends a file may look at
// the flag: the sound, which is read to its end there, does not.
#pragma once

#include <atomic>
#include <exception>

namespace dorfx {

// Set by the signal handler.
inline std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

class Interrupted : public std::exception {
 public:
  const char* what() const noexcept override { return "interrupted"; }
};

inline void throw_if_interrupted() {
  if (interrupted.load(std::memory_order_relaxed)) throw Interrupted();
}

}  // namespace dorfx
