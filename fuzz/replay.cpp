// Runs files, and the files of directories, through the fuzz target that it is linked with:
//
//     fuzz_NAME PATH...
//
// Each input has to end within a second of wall time, and all of them together with 64 MB more than
// the program had at its start. A sanitizer needs more of both: with one they are not measured.

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "target.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMeasured = false;
#else
constexpr bool kMeasured = true;
#endif
constexpr std::chrono::seconds kLongestRun{1};
constexpr long kLargestGrowthKb = 64L * 1024;

using Bytes = std::vector<std::uint8_t>;

Bytes ReadBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

long PeakResidentKb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

std::vector<std::filesystem::path> FilesAt(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return {path};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

[[noreturn]] void GiveUp(const std::filesystem::path& path, const char* reason) {
  std::fprintf(stderr, "%s: %s\n", path.c_str(), reason);
  std::abort();
}

/// Runs one file. A crash names no file by itself, so the name is printed first, and overwritten.
void RunFile(const std::filesystem::path& path) {
  static const long kAtStart = PeakResidentKb();
  if (!std::filesystem::is_regular_file(path)) GiveUp(path, "no such file");
  std::fprintf(stderr, "\r\x1b[K%s", path.c_str());
  const Bytes bytes = ReadBytes(path);
  const auto before = std::chrono::steady_clock::now();
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  if (!kMeasured) return;
  if (std::chrono::steady_clock::now() - before > kLongestRun) GiveUp(path, "takes too long");
  if (PeakResidentKb() - kAtStart > kLargestGrowthKb) GiveUp(path, "needs too much memory");
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t count = 0;
  for (const std::string& argument : std::vector<std::string>(argv + 1, argv + argc)) {
    const auto files = FilesAt(argument);
    std::for_each(files.begin(), files.end(), RunFile);
    count += files.size();
  }
  std::fprintf(stderr, "\r\x1b[K");
  std::printf("%zu inputs, no finding\n", count);
  return count == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
