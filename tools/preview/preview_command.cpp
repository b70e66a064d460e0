#include "preview/preview_command.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "common/block_files.h"
#include "common/cannot_run.h"
#include "common/station.h"
#include "preview/file_watch.h"
#include "preview/preview.h"
#include "preview/preview_json.h"
#include "preview/preview_text.h"
#include "preview/speech_files.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kDescription = {"zeigt, was der Server aus Datenblöcken machen wird",
                                    "shows what the server will make of data blocks"};
constexpr Bilingual kExplain = {"sagt zu jeder Phrase, warum sie gesprochen wird oder nicht",
                                "tells for each phrase why it is spoken or not"};
constexpr Bilingual kAudio = {"legt die Texte und ihre Sprachdateien in DIR ab",
                              "puts the texts and their speech files into DIR"};
constexpr Bilingual kPlay = {"spielt die Sprachdateien mit aplay", "plays the speech by aplay"};
constexpr Bilingual kWatch = {"wiederholt es nach jeder Änderung, bis Ctrl-C",
                              "does it again after each change, until Ctrl-C"};
constexpr Bilingual kChanged = {"--- {0} hat sich geändert\n", "--- {0} has changed\n"};
constexpr Bilingual kNoTemporary = {"ist nicht beschreibbar", "is not writable"};

struct PreviewOptions {
  std::vector<fs::path> Blocks;
  bool bExplain = false;
  std::string Audio;
  bool bPlay = false;
  bool bWatch = false;
};

struct PreviewedBlock {
  std::string File;
  BlockPreview Made;
};

/// A directory that lives as long as the object.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string path = fs::temp_directory_path() / "ka-tts-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) throw CannotRun(kNoTemporary, fs::temp_directory_path());
    path_ = path;
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const fs::path& Path() const { return path_; }

 private:
  fs::path path_;
};

/// What stands before the names of a block's files if there are several blocks; differs for each.
std::string FilePrefix(const std::string& block, std::set<std::string>& used) {
  const std::string stem = PlainName(fs::path(block).stem().string());
  std::string prefix = stem + "-";
  for (int number = 2; !used.insert(prefix).second; ++number)
    prefix = stem + "-" + std::to_string(number) + "-";
  return prefix;
}

void MakeSpeeches(SpeechFiles& files, const std::vector<PreviewedBlock>& blocks) {
  std::set<std::string> used;
  for (const PreviewedBlock& block : blocks) {
    const std::string prefix = blocks.size() > 1 ? FilePrefix(block.File, used) : "";
    for (const ComposedText& text : block.Made.Texts)
      if (text.bExists) files.Make(prefix + text.Name, text.Text);
  }
}

void Speak(const PreviewOptions& options, const Preview& source,
           const std::vector<PreviewedBlock>& blocks) {
  if (options.Audio.empty() && !options.bPlay) return;
  const TemporaryDirectory temporary;
  SpeechFiles files(source.Builder(),
                    options.Audio.empty() ? temporary.Path() : fs::path(options.Audio));
  MakeSpeeches(files, blocks);
  if (options.bPlay) files.Play();
}

void PrintPreviews(const std::vector<PreviewedBlock>& blocks, const Preview& source,
                   const Station& station, const Context& context) {
  nlohmann::ordered_json json{{"blocks", nlohmann::ordered_json::array()}};
  const PreviewStyle style{context.Lang, context.UsesColor(), station.Root()};
  for (const PreviewedBlock& block : blocks) {
    if (context.bJson) {
      json["blocks"].push_back(JsonOf(block.Made, block.File, source));
    } else {
      Print(TextOf(block.Made, block.File, source, style));
    }
  }
  if (context.bJson) Print(Dump(json));
  static_cast<void>(std::fflush(stdout));
}

void RunOnce(const PreviewOptions& options, Context& context) {
  const Station station(context.StationDir);
  Preview preview(station);
  std::vector<PreviewedBlock> blocks;
  bool complete = true;
  for (const fs::path& file : BlockFiles(options.Blocks)) {
    blocks.push_back({file.string(), preview.Of(Read(file), options.bExplain)});
    complete = complete && blocks.back().Made.Result == BlockPreview::Outcome::Complete;
  }
  PrintPreviews(blocks, preview, station, context);
  Speak(options, preview, blocks);
  context.Status = complete ? 0 : 1;
}

/// Everything that a preview depends on.
void WatchFiles(FileWatch& watch, const PreviewOptions& options, const Context& context) {
  for (const fs::path& file : BlockFiles(options.Blocks))
    watch.AddFile(file);
  watch.AddFile(context.StationDir / "kaconfig" / "kaTtsServer.kacfg");
  const Station station(context.StationDir);
  watch.AddFile(station.Document());
  std::error_code none;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(station.Root() + "/lexidata", none)) {
    if (entry.is_directory()) watch.AddDirectory(entry.path());
  }
}

/// One run, whose failure is told and does not end the watching.
void RunWatched(FileWatch& watch, const PreviewOptions& options, Context& context) {
  try {
    WatchFiles(watch, options, context);
    RunOnce(options, context);
  } catch (const CannotRun& failure) {
    PrintError("ka-tts: " + failure.Message(context.Lang) + "\n");
  }
}

[[noreturn]] void RunForEver(const PreviewOptions& options, Context& context) {
  FileWatch watch;
  while (true) {
    RunWatched(watch, options, context);
    const fs::path changed = watch.Wait();
    if (!context.bJson) Print(Say(kChanged, context.Lang, changed.string()));
  }
}

}  // namespace

CLI::App* AddPreviewCommand(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("preview", std::string(kDescription(context.Lang)));
  AddCommonOptions(*command, context);
  const auto options = std::make_shared<PreviewOptions>();
  command->add_option("BLOCK", options->Blocks, std::string(kBlockFiles(context.Lang)))
      ->required()
      ->type_name("FILE");
  command->add_flag("--explain", options->bExplain, std::string(kExplain(context.Lang)));
  command->add_option("--audio", options->Audio, std::string(kAudio(context.Lang)))
      ->type_name("DIR");
  command->add_flag("--play", options->bPlay, std::string(kPlay(context.Lang)));
  command->add_flag("--watch", options->bWatch, std::string(kWatch(context.Lang)));
  command->callback([options, &context] {
    if (options->bWatch) RunForEver(*options, context);
    RunOnce(*options, context);
  });
  return command;
}

}  // namespace tools
