#include "support/golden.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

namespace dorbmp::test {
namespace {

std::string digest(const std::vector<uint8_t>& bytes) {
  uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
  for (const uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001B3;
  char text[17];
  std::snprintf(text, sizeof(text), "%016" PRIx64, hash);
  return text;
}

class GoldenFile {
 public:
  GoldenFile() : updating_(std::getenv("DORBMP_GOLDEN_UPDATE") != nullptr) {
    std::ifstream file(path());
    for (std::string name, value; file >> name >> value;) digests_[name] = value;
  }

  ~GoldenFile() {
    if (!updating_) return;
    std::ofstream file(path());
    for (const auto& [name, value] : digests_) file << name << ' ' << value << '\n';
  }

  void expect(const std::string& name, const std::string& value) {
    if (updating_) {
      digests_[name] = value;
      return;
    }
    const auto known = digests_.find(name);
    ASSERT_NE(known, digests_.end()) << name << " is not in the golden file";
    EXPECT_EQ(known->second, value) << name;
  }

 private:
  // Programs built on one system and run on another find the file by the environment.
  static std::string path() {
    const char* given = std::getenv("DORBMP_GOLDEN_FILE");
    return given != nullptr ? given : DORBMP_GOLDEN_FILE;
  }

  bool updating_;
  std::map<std::string, std::string> digests_;
};

}  // namespace

void expect_golden(const std::string& name, const std::vector<uint8_t>& bytes) {
  static GoldenFile file;
  file.expect(name, digest(bytes));
}

}  // namespace dorbmp::test
