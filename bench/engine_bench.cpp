/// \file
/// The default engine against the program espeak-ng: the same text with the same voice to a .wav
/// file, from starting the process to its end, in alternating runs.
///
///   ka-bench-engine --out DIRECTORY [--runs N]
///
/// Prints a table, keeps it as engine.json in DIRECTORY and appends to DIRECTORY/limits.tsv.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "figures.h"
#include "process_cost.h"
#include "support/temp_dir.h"

namespace bench {

namespace {

constexpr const char* kVoice = "de";

struct Run {
  double Wall = 0;
  double Cpu = 0;
};

double Milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

/// Runs a program to its end.
Run TimeProgram(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const double begin = NowMilliseconds();
  pid_t process = -1;
  if (posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
    throw std::runtime_error("cannot start " + words[0]);
  }
  int status = 0;
  rusage usage{};
  while (wait4(process, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  const double end = NowMilliseconds();
  if (status != 0) throw std::runtime_error(words[0] + " failed");
  return {end - begin, Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime)};
}

/// About `sentences` announcements of 124 characters, ten seconds of sound each.
std::string Announcements(int sentences) {
  std::string text;
  for (int i = 0; i < sentences; ++i) {
    text +=
        "Information zu Intercity 2038 nach Norddeich Mole, Abfahrt 9 Uhr 21, heute zirka 15 "
        "Minuten später von Gleis 10 statt Gleis 12. ";
  }
  text.pop_back();
  return text;
}

struct Text {
  std::string Name;
  std::string Content;
  double Most;  ///< largest quotient to espeak-ng
};

std::vector<Text> Texts() {
  return {{"one word", "Achtung.", 1.0},
          {"one short sentence", "Der Zug nach Hannover fährt ein.", 1.0},
          {"one ordinary announcement", Announcements(1), 0.7},
          {"five announcements", Announcements(5), 1.0},
          {"forty announcements", Announcements(40), 1.0}};
}

/// Seconds of sound of a .wav file of 16 bit and 22,050 Hz.
double SoundSeconds(const std::string& path) {
  return static_cast<double>(support::ReadFile(path).size() - 44) / 2 / 22050;
}

void Measure(const std::string& out, int runs) {
  Table table("Default engine against espeak-ng -w, alternating, " + std::to_string(runs) +
                  " runs each; milliseconds",
              {"text", "bytes", "sound in s", "engine", "eng p95", "espeak-ng", "esp p95",
               "wall ratio", "eng CPU", "esp CPU", "CPU ratio"});
  const Limits limits(out);
  const support::TempDir directory;
  for (const Text& text : Texts()) {
    const std::string file = directory.Write("text", text.Content);
    const std::string ours = directory.Sub("ours.wav");
    std::vector<double> wall[2];
    std::vector<double> cpu[2];
    for (int i = -1; i < runs; ++i) {
      for (int turn = 0; turn < 2; ++turn) {
        const int who = (turn + i) & 1;
        const Run run = who == 0
                            ? TimeProgram({KA_ENGINE_PATH, "--voice", kVoice, "--", file, ours})
                            : TimeProgram({"espeak-ng", "-v", kVoice, "-f", file, "-w",
                                           directory.Sub("theirs.wav")});
        if (i < 0) continue;  // everything is in the page cache from here on
        wall[who].push_back(run.Wall);
        cpu[who].push_back(run.Cpu);
      }
    }
    const double ratio = Median(wall[0]) / Median(wall[1]);
    table.Add(text.Name,
              {static_cast<double>(text.Content.size()), SoundSeconds(ours), Median(wall[0]),
               Percentile95(wall[0]), Median(wall[1]), Percentile95(wall[1]), ratio, Median(cpu[0]),
               Median(cpu[1]), Median(cpu[0]) / Median(cpu[1])});
    limits.AtMost("engine against espeak-ng -w, " + text.Name, ratio, text.Most, "");
  }
  table.Print();
  table.Save(out, "engine");
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
  std::string out;
  int runs = 31;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string option = argv[i];
    if (option == "--out") out = argv[i + 1];
    if (option == "--runs") runs = std::atoi(argv[i + 1]);
  }
  if (out.empty()) return EXIT_FAILURE;
  try {
    bench::Measure(out, runs);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
