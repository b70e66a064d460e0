// The default speech engine: speaks a text through aplay, or saves it as a .wav file. README.md
// beside this directory states the contract.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "Announcement.h"
#include "CheckedSink.h"
#include "CommandLine.h"
#include "Failure.h"
#include "Interruption.h"
#include "Player.h"
#include "RegularFile.h"
#include "Report.h"
#include "Synthesiser.h"
#include "TagParser.h"
#include "TextCleaner.h"
#include "WavFile.h"

#ifndef KA_ENGINE_VERSION
#error "the build system gives the version"
#endif

namespace {

using namespace engine;

// A descriptor 0 to 2 that the caller has closed would be given to the next file opened, and
// messages would go there.
void OpenStandardDescriptors() {
  int fd = ::open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO)
    fd = ::dup(fd);
  if (fd >= 0) ::close(fd);
}

Pieces ReadPieces(std::string_view text, const CommandLine& line) {
  ParsedText parsed = TagParser::Parse(text, line.voice);
  for (const std::string& warning : parsed.warnings)
    ReportWarning(warning);
  return std::move(parsed.pieces);
}

void Speak(const CommandLine& line) {
  Player player;
  CheckedSink sink(player, std::nullopt);
  RenderAnnouncement(ReadPieces(line.text, line), {.lufs = line.level, .someoneListens = true},
                     sink);
  player.Finish();
}

std::string ReadText(const std::string& path) try {
  return ReadTextFile(path);
} catch (const FileError& error) {
  throw Failure(error.what());
}

void SaveSpeech(const CommandLine& line, CheckedSink::Clock::time_point start) {
  const Pieces pieces = ReadPieces(ReadText(line.textFile), line);
  WavFile file(line.wavFile);
  CheckedSink sink(file, start + line.timeLimit);
  RenderAnnouncement(pieces, {.lufs = line.level, .someoneListens = false}, sink);
  sink.Check();
  file.Commit();
}

// Prepared texts are kept by the author in files with this ending; the server's own copies of
// announcement texts have none.
constexpr std::string_view kAuthorsTextEnding = ".txt";

void RemoveRegularFile(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if (::unlink(path.c_str()) == 0) return;
  ReportWarning(WithSystemError("cannot remove " + InQuotes(path), errno));
}

// An old .wav would be played as if it were this announcement, and the server synthesises a text
// again only if its copy of the last one is gone.
void DiscardOutdatedFiles(const CommandLine& line) {
  RemoveRegularFile(line.wavFile);
  if (!line.textFile.ends_with(kAuthorsTextEnding)) RemoveRegularFile(line.textFile);
}

void Save(const CommandLine& line) {
  const auto start = CheckedSink::Clock::now();
  std::error_code ignored;  // a file that does not exist yet is not the same
  if (std::filesystem::equivalent(line.textFile, line.wavFile, ignored)) {
    throw UsageError("the text file and the .wav file are the same");
  }
  try {
    SaveSpeech(line, start);
  } catch (const std::exception&) {
    if (line.discardOnFailure) DiscardOutdatedFiles(line);
    throw;
  }
}

void Print(const std::string& text) {
  if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
    throw Failure("cannot write to standard output");
  }
}

void Run(const CommandLine& line) {
  switch (line.action) {
    case CommandLine::Action::Speak:
      return Speak(line);
    case CommandLine::Action::Save:
      return Save(line);
    case CommandLine::Action::ShowHelp:
      return Print(CommandLine::Help());
    case CommandLine::Action::ShowVersion:
      return Print("ka-espeak-ng " KA_ENGINE_VERSION ", espeak-ng " + Synthesiser::Version() +
                   "\n");
  }
}

}  // namespace

int main(int argc, char* argv[]) try {
  OpenStandardDescriptors();
  NoteSignals();
  const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
  Run(CommandLine::Parse(arguments.empty() ? arguments : arguments.subspan(1)));
  return kDone;
} catch (const UsageError& error) {
  ReportError(std::string(error.what()) + " (--help explains)");
  return kWrongUsage;
} catch (const Failure& failure) {
  ReportError(failure.what());
  return failure.ExitStatus();
} catch (const std::exception& error) {
  ReportError(error.what());
  return kFailed;
}
