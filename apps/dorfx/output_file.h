// A file that appears under its name only when it is whole.
#pragma once

#include <string>

namespace dorfx {

enum class Overwrite { kAsk, kYes, kNo };

// Throws Failure where a file of this name exists and may not be overwritten; asks on a terminal.
void check_overwrite(const std::string& name, Overwrite overwrite);

class OutputFile {
 public:
  // As check_overwrite; throws Failure where the name cannot be written, too. Creates an empty file beside
  // the name, unless the name is a device or a pipe, which is written as it is.
  OutputFile(const std::string& name, Overwrite overwrite);
  // Removes what was not kept.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // What to write to.
  const std::string& path() const { return path_; }

  // Gives the written file its name.
  void keep();

 private:
  std::string name_, path_;
  bool beside_ = false;  // path_ is a file of our own
};

}  // namespace dorfx
