// Runs a fuzz target on files and folders of inputs, without the fuzzing engine.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void run(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  // Named before it runs: the last line of a run that stops says where.
  std::printf("%s: %zu bytes\n", path.filename().c_str(), bytes.size());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
  int runs = 0;
  for (int i = 1; i < count; ++i) {
    if (!std::filesystem::is_directory(arguments[i])) {
      run(arguments[i]);
      ++runs;
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
      run(entry.path());
      ++runs;
    }
  }
  return runs > 0 ? 0 : 1;
}
