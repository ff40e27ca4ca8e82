// A file that appears under its name only when it is whole.
#pragma once

#include <string>

namespace dorfx {

enum class Overwrite { kAsk, kYes, kNo };

class OutputFile {
 public:
  // Throws Failure where the name is taken and may not be overwritten, or cannot be written; asks on a
  // terminal. Creates an empty file beside the name, unless the name is a device or a pipe, which is
  // written as it is.
  OutputFile(const std::string& name, Overwrite overwrite);
  // Removes what was not kept.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // What to write to.
  const std::string& path() const { return path_; }
  const std::string& name() const { return name_; }

  // Gives the written file its name.
  void keep();

 private:
  std::string name_, path_;
  bool beside_ = false;  // path_ is a file of our own
};

}  // namespace dorfx
