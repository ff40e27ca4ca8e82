#include "dorfx/output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "dorfx/errors.h"
#include "dorfx/log.h"

namespace dorfx {

namespace fs = std::filesystem;

void check_overwrite(const std::string& name, Overwrite overwrite) {
  std::error_code ignored;
  if (overwrite == Overwrite::kYes || !fs::is_regular_file(name, ignored)) return;
  if (overwrite == Overwrite::kNo) throw Failure(name, "exists and -n is given", "choose another name");
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
    throw Failure(name, "exists", "give -y to overwrite it, or choose another name");
  }
  std::cerr << "dorfx: " << name << " exists. Overwrite? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "Y" && answer != "yes") {
    throw Failure(name, "is left as it is", "choose another name");
  }
}

OutputFile::OutputFile(const std::string& name, Overwrite overwrite) : name_(name), path_(name) {
  std::error_code ignored;
  const fs::file_status status = fs::status(name, ignored);
  if (fs::is_directory(status)) throw Failure(name, "is a directory", "give a file name");
  if (fs::exists(status) && !fs::is_regular_file(status)) return;
  check_overwrite(name, overwrite);

  const fs::path target(name);
  const std::string beside = "." + target.filename().string() + "." + std::to_string(getpid()) + ".part";
  path_ = (target.parent_path() / beside).string();
  const int file = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0) {
    throw Failure(name, std::string("cannot be written: ") + std::strerror(errno), "check the directory");
  }
  close(file);
  beside_ = true;
}

OutputFile::~OutputFile() {
  if (beside_) unlink(path_.c_str());
}

void OutputFile::keep() {
  if (!beside_) return;
  if (rename(path_.c_str(), name_.c_str()) != 0) {
    throw Failure(name_, std::string("cannot be given its name: ") + std::strerror(errno),
                  "check the directory");
  }
  beside_ = false;
}

}  // namespace dorfx
