// Digests of what the exports write, one file for every target and compiler.
//
// A test draws with fixed numbers and hands each result over under a name; the digest must be the one that
// golden.txt holds. With DORBMP_GOLDEN_UPDATE set in the environment the run writes the file instead: a
// changed line is a changed behaviour.
#pragma once

#include <string>

#include "support/frames.h"

namespace dorbmp::test {

// name: words without spaces, subsystem first: "compose/key16_yuy2/level4".
void expect_golden(const std::string& name, const std::vector<uint8_t>& bytes);
inline void expect_golden(const std::string& name, Frame& frame) {
  expect_golden(name, frame.bytes());
}

}  // namespace dorbmp::test
