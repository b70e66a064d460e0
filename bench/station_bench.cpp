/// \file
/// Measures the server from outside, side by side with the floor program.
///
///   ka-bench-station --out DIRECTORY [--messages N] [--quick] SECTION...
///
/// Sections: floor, cases, lexica, start, idle, memory. Prints a table for each, keeps it as JSON
/// in DIRECTORY and appends the limits that it knows to DIRECTORY/limits.tsv.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <thread>

#include "bench_station.h"
#include "contest.h"
#include "figures.h"
#include "process_cost.h"
#include "recording.h"
#include "support/temp_dir.h"
#include "worlds.h"

namespace bench {

namespace {

using servertest::ServerProcess;

struct Options {
  std::string Out;
  std::size_t Messages = 200;
  bool Quick = false;
  std::vector<std::string> Sections;

  /// `usual` repetitions, or a few.
  std::size_t Repetitions(std::size_t usual) const { return Quick ? 1 : usual; }
};

/// Waits until files that were just written count as unchanged for a while.
void LetFilesAge() {
  std::this_thread::sleep_for(std::chrono::milliseconds(2200));
}

constexpr const char* kText = "Zug fährt ein.";

// ---- Server against floor ----

struct FloorRow {
  std::string Name;
  std::vector<std::string> Messages;
  std::size_t Rows = 0;  ///< of a data block; 0 for a text
  Engine Speech = Engine::None;
  bool UntilFirstSample = false;
};

std::vector<FloorRow> FloorRows() {
  std::vector<FloorRow> rows = {{"text, engine true", {kText}}};
  for (const std::size_t count : {1U, 5U, 20U}) {
    const std::string number = std::to_string(count);
    rows.push_back({"cached block, rows: " + number, {BlockText(count)}, count});
    rows.push_back({"changed block, no engine, rows: " + number,
                    {BlockText(count, 0), BlockText(count, 1)},
                    count});
  }
  rows.push_back(
      {"changed block, real engine, rows: 1", {BlockText(1, 0), BlockText(1, 1)}, 1, Engine::Real});
  rows.push_back({"text to first sample", {kText}, 0, Engine::Real, true});
  return rows;
}

Contender MakeFloor(const BenchStation& station, const std::string& script) {
  const servertest::PortLease own;
  Contender floor{"floor",
                  std::make_unique<ServerProcess>(
                      station.LaunchOf(KA_FLOOR_PATH, {std::to_string(own.Number()), script})),
                  own.Number()};
  return floor;
}

/// The server and its floor, in one station.
std::vector<Contender> MakePair(const BenchStation& station, const FloorRow& row) {
  const unsigned port = row.Rows == 0 ? station.Files().TextPort() : station.Files().DataPort();
  const std::string script = RecordMessages(station, port, row.Messages, row.Rows);
  std::vector<Contender> pair;
  pair.push_back({"server", station.Start(station.ServerLaunch()), port});
  station.FillStore(row.Rows);
  pair.push_back(MakeFloor(station, script));
  return pair;
}

/// More for a message that costs little: the time of its commands is told in ticks of 10 ms.
std::size_t Rounds(const Options& options, const FloorRow& row) {
  constexpr std::size_t kMoreTexts = 10;
  constexpr std::size_t kMoreBlocks = 5;
  if (options.Quick || row.Speech != Engine::None || row.Rows > 1) return options.Messages;
  return options.Messages * (row.Rows == 0 ? kMoreTexts : kMoreBlocks);
}

void AddFloorRow(Table& table, const Limits& limits, const FloorRow& row, const Options& options) {
  const BenchStation station(row.Speech);
  // Otherwise the floor would read lexica again that the server reads no more.
  if (!options.Quick) LetFilesAge();
  const auto untilSample = [&station](double begin) { return station.FirstSampleTime() - begin; };
  const std::vector<Costs> costs =
      Alternate(MakePair(station, row), row.Messages, Rounds(options, row),
                row.UntilFirstSample ? Stopwatch(untilSample) : Stopwatch(UntilAnswer));
  const Costs& server = costs[0];
  const Costs& floor = costs[1];
  const double wall = Median(server.Wall) / Median(floor.Wall);
  const double paired = PairedRatio(server.Wall, floor.Wall);
  const double own = Median(server.Cpu) / Median(floor.Cpu);
  const double total = server.TotalCpu() / floor.TotalCpu();
  table.Add(row.Name, {Median(server.Wall), Percentile95(server.Wall), Median(floor.Wall),
                       Percentile95(floor.Wall), wall, paired, Median(server.Cpu),
                       Median(floor.Cpu), own, server.TotalCpu(), floor.TotalCpu(), total});
  limits.AtMost(row.Name + ": wall time against the floor, paired", paired, 1.05, "");
  limits.AtMost(row.Name + ": CPU with its commands against the floor", total, 1.05, "");
}

void MeasureFloor(const Options& options) {
  Table table(
      "Server against the floor program, alternating, " + std::to_string(options.Messages) +
          " messages each (without an engine texts ten times, blocks of one row five times as "
          "many); milliseconds",
      {"message", "server", "srv p95", "floor", "flr p95", "wall ratio", "paired", "own CPU",
       "flr own", "own ratio", "all CPU", "flr all", "all ratio"});
  const Limits limits(options.Out);
  for (const FloorRow& row : FloorRows())
    AddFloorRow(table, limits, row, options);
  table.Print();
  table.Save(options.Out, "floor");
}

// ---- Growth ----

/// A station for one size, with its server.
struct Sized {
  std::size_t Size = 0;
  std::unique_ptr<BenchStation> Station;
};

using StationMaker = std::function<std::unique_ptr<BenchStation>(std::size_t size)>;

/// Cached blocks of `rows` rows for servers of different sizes, and the floor of the smallest.
std::vector<Costs> MeasureSizes(const std::vector<Sized>& stations, std::size_t rows,
                                std::size_t rounds) {
  const std::string block = BlockText(rows);
  std::vector<Contender> contenders;
  const BenchStation& smallest = *stations.front().Station;
  const std::string script = RecordMessages(smallest, smallest.Files().DataPort(), {block}, rows);
  for (const Sized& sized : stations) {
    const BenchStation& station = *sized.Station;
    contenders.push_back(
        {"server", station.Start(station.ServerLaunch()), station.Files().DataPort()});
    station.FillStore(rows);
  }
  contenders.push_back(MakeFloor(smallest, script));
  return Alternate(contenders, {block}, rounds);
}

void AddSizeRow(Table& table, const std::string& name, const Costs& costs, const Costs& smallest,
                const Costs& floor) {
  table.Add(name,
            {Median(costs.Wall), Percentile95(costs.Wall), PairedRatio(costs.Wall, smallest.Wall),
             PairedRatio(costs.Wall, floor.Wall), Median(costs.Cpu), costs.TotalCpu(),
             costs.TotalCpu() / smallest.TotalCpu(), costs.TotalCpu() / floor.TotalCpu()});
}

/// \param most for each size the largest quotient to the smallest one
void MeasureGrowth(const Options& options, const std::string& what,
                   const std::map<std::size_t, double>& most, const StationMaker& make) {
  Table table(
      "Cached block by the number of " + what + ", alternating, " +
          std::to_string(options.Messages) + " messages each; milliseconds",
      {what, "wall", "p95", "wall/10", "wall/floor", "own CPU", "all CPU", "CPU/10", "CPU/floor"});
  const Limits limits(options.Out);
  std::vector<Sized> stations;
  stations.reserve(most.size());
  for (const auto& [size, limit] : most)
    stations.push_back({size, make(size)});
  LetFilesAge();
  for (const std::size_t rows : {1U, 5U}) {
    const std::vector<Costs> costs = MeasureSizes(stations, rows, options.Messages);
    const std::string suffix = ", rows: " + std::to_string(rows);
    for (std::size_t i = 0; i < stations.size(); ++i) {
      const std::size_t size = stations[i].Size;
      const std::string name = std::to_string(size) + suffix;
      AddSizeRow(table, name, costs[i], costs[0], costs.back());
      if (i == 0) continue;
      std::string subject = name;
      subject.append(", ").append(what);
      limits.AtMost(subject + ": wall time against 10", PairedRatio(costs[i].Wall, costs[0].Wall),
                    most.at(size), "");
      limits.AtMost(subject + ": CPU against 10", costs[i].TotalCpu() / costs[0].TotalCpu(),
                    most.at(size), "");
    }
    AddSizeRow(table, "floor" + suffix, costs.back(), costs[0], costs.back());
  }
  table.Print();
  table.Save(options.Out, what == "cases" ? "cases" : "lexica");
}

void MeasureCases(const Options& options) {
  MeasureGrowth(options, "cases", {{10, 1.0}, {1'000, 1.05}, {10'000, 1.3}}, [](std::size_t size) {
    return std::make_unique<BenchStation>(Engine::None, DocumentText({.Cases = size}));
  });
}

void MeasureLexica(const Options& options) {
  MeasureGrowth(options, "lexicon entries", {{10, 1.0}, {10'000, 1.1}}, [](std::size_t size) {
    auto station =
        std::make_unique<BenchStation>(Engine::None, DocumentText({.Lexicon = "places"}));
    station->WriteLexicon("places", LexiconText(size));
    return station;
  });
}

// ---- Start ----

/// Milliseconds from starting the server to three open ports.
double TimeOneStart(const BenchStation& station) {
  const servertest::Stage& stage = station.Files();
  const double begin = NowMilliseconds();
  ServerProcess server(station.ServerLaunch());
  while (!PortsListen({stage.TextPort(), stage.DataPort(), stage.CommandPort()})) {
    if (!server.IsRunning()) throw std::runtime_error("the server has ended");
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return NowMilliseconds() - begin;
}

void AddStartRow(Table& table, const Limits& limits, const std::string& name,
                 const BenchStation& station, std::size_t starts, double most) {
  static_cast<void>(station.Start(station.ServerLaunch()));  // makes the prepared speeches
  std::vector<double> times;
  for (std::size_t i = 0; i < starts; ++i)
    times.push_back(TimeOneStart(station));
  table.Add(name, {Median(times), Percentile95(times)});
  limits.AtMost("start to open ports, " + name, Median(times), most, " ms");
}

void MeasureStart(const Options& options) {
  const std::size_t starts = options.Repetitions(31);
  Table table("Start to three open ports, " + std::to_string(starts) + " starts; milliseconds",
              {"station", "median", "p95"});
  const Limits limits(options.Out);
  AddStartRow(table, limits, "demo station, prepared speeches there", BenchStation(Engine::Real),
              starts, 50);
  AddStartRow(table, limits, "10,000 cases",
              BenchStation(Engine::None, DocumentText({.Cases = 10'000})), starts, 150);
  table.Print();
  table.Save(options.Out, "start");
}

// ---- Idle ----

void MeasureIdle(const Options& options) {
  const std::size_t seconds = options.Repetitions(10);
  const BenchStation station(Engine::None);
  const auto server = station.Start(station.ServerLaunch());
  Tell(station.Files().TextPort(), kText);
  Tell(station.Files().DataPort(), BlockText(1));
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  const pid_t pid = server->Pid();
  const auto before = ThreadNanoseconds(pid);
  const auto wokenBefore = VoluntarySwitches(pid, pid);
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const auto after = ThreadNanoseconds(pid);
  const auto woken = VoluntarySwitches(pid, pid) - wokenBefore;
  double main = 0;
  double others = 0;
  for (const auto& [thread, nanoseconds] : after) {
    const auto known = before.find(thread);
    const double used =
        static_cast<double>(nanoseconds - (known == before.end() ? 0 : known->second)) / 1e6;
    (thread == pid ? main : others) += used;
  }
  const auto length = static_cast<double>(seconds);
  Table table("Idle for " + std::to_string(seconds) + " s",
              {"thread", "CPU in ms", "CPU in %", "wake-ups a second"});
  table.Add("main, looks every 100 ms",
            {main, main / length / 10, static_cast<double>(woken) / length});
  table.Add("all others", {others, others / length / 10, 0});
  table.Print();
  table.Save(options.Out, "idle");
  const Limits limits(options.Out);
  limits.AtMost("idle: CPU of all threads but the main one", others, 0, " ms");
  limits.AtMost("idle: wake-ups of the main thread a second", static_cast<double>(woken) / length,
                10.5, "");
}

// ---- Memory ----

void SendBlocks(unsigned port, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Tell(port, BlockText(i % 10 == 0 ? 6 : 1, static_cast<int>(i % 10)));
}

void AddMemoryRow(Table& table, const std::string& name, pid_t pid) {
  table.Add(name,
            {Kilobytes(pid, "smaps_rollup", "Rss"), Kilobytes(pid, "smaps_rollup", "Anonymous"),
             Kilobytes(pid, "smaps_rollup", "Private_Dirty"), Kilobytes(pid, "status", "RssAnon"),
             Kilobytes(pid, "status", "RssFile")});
}

void MeasureMemory(const Options& options) {
  const std::size_t blocks = options.Quick ? 10 : 1000;
  const BenchStation station(Engine::None);
  const auto server = station.Start(station.ServerLaunch());
  const pid_t pid = server->Pid();
  Table table("Resident memory of the demo station; KiB",
              {"after", "Rss", "Anonymous", "Private_Dirty", "RssAnon", "RssFile"});
  AddMemoryRow(table, "start", pid);
  SendBlocks(station.Files().DataPort(), blocks / 2);
  AddMemoryRow(table, std::to_string(blocks / 2) + " blocks", pid);
  SendBlocks(station.Files().DataPort(), blocks / 2);
  AddMemoryRow(table, std::to_string(blocks) + " blocks", pid);
  table.Print();
  table.Save(options.Out, "memory");
  const Limits limits(options.Out);
  limits.AtMost("anonymous memory after " + std::to_string(blocks) + " blocks",
                Kilobytes(pid, "smaps_rollup", "Anonymous"), 2048, " KiB");
  limits.AtMost("resident memory after " + std::to_string(blocks) + " blocks",
                Kilobytes(pid, "smaps_rollup", "Rss"), 12288, " KiB");
}

// ---- Command line ----

using Section = void (*)(const Options& options);

const std::vector<std::pair<std::string, Section>>& Sections() {
  static const auto* const sections = new std::vector<std::pair<std::string, Section>>{
      {"floor", MeasureFloor}, {"cases", MeasureCases}, {"lexica", MeasureLexica},
      {"start", MeasureStart}, {"idle", MeasureIdle},   {"memory", MeasureMemory}};
  return *sections;
}

Section FindSection(const std::string& name) {
  for (const auto& [known, section] : Sections()) {
    if (known == name) return section;
  }
  throw std::invalid_argument("unknown section " + name);
}

Options ParseOptions(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--quick") {
      options.Quick = true;
      options.Messages = 2;
    } else if (word == "--out" && i + 1 < argc) {
      options.Out = argv[++i];
    } else if (word == "--messages" && i + 1 < argc) {
      options.Messages = std::stoul(argv[++i]);
    } else {
      options.Sections.push_back(word);
    }
  }
  if (options.Out.empty()) throw std::invalid_argument("--out DIRECTORY is missing");
  return options;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
  try {
    const bench::Options options = bench::ParseOptions(argc, argv);
    for (const std::string& section : options.Sections)
      bench::FindSection(section)(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
