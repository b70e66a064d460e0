/// \file
/// Stands in for the player: notes when the first samples of a sound reach it, and takes the rest.
///
///   aplay [OPTION...]
///
/// The time of the first read that brings anything goes to the file that KA_BENCH_FIRST_SAMPLE
/// names, as nanoseconds of CLOCK_MONOTONIC and of CLOCK_REALTIME. Without samples on standard
/// input nothing is written.

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

long long Nanoseconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<long long>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

int main() {
  std::array<char, 65536> samples;
  if (read(STDIN_FILENO, samples.data(), samples.size()) <= 0) return EXIT_SUCCESS;
  const long long monotonic = Nanoseconds(CLOCK_MONOTONIC);
  const long long realTime = Nanoseconds(CLOCK_REALTIME);
  if (const char* path = std::getenv("KA_BENCH_FIRST_SAMPLE"); path != nullptr) {
    if (std::FILE* file = std::fopen(path, "w"); file != nullptr) {
      std::fprintf(file, "%lld %lld\n", monotonic, realTime);
      std::fclose(file);
    }
  }
  while (read(STDIN_FILENO, samples.data(), samples.size()) > 0) {
  }
  return EXIT_SUCCESS;
}
