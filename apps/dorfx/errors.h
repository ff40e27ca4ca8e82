// How the program ends, and the two ways it fails.
#pragma once

#include <stdexcept>
#include <string>

namespace dorfx {

enum ExitStatus : int { kDone = 0, kCouldNot = 1, kBadUsage = 2, kInterrupted = 130 };

// The work could not be done: a file, the reason, and what to do about it, on one line.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  Failure(const std::string& subject, const std::string& reason, const std::string& remedy = {})
      : std::runtime_error(subject + ": " + reason + (remedy.empty() ? "" : "; " + remedy)) {}
};

// The command line asks for something that does not exist.
class UsageError : public Failure {
 public:
  using Failure::Failure;
};

}  // namespace dorfx
