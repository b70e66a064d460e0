#include <filesystem>
#include <set>
#include <string>
#include <system_error>

#include "check/file_access.h"
#include "check/profile_file.h"
#include "check/rule_groups.h"
#include "check/wave_file.h"
#include "kaFile.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Rule kMissing = {
    .Id = "audio-file-missing",
    .Level = Severity::Error,
    .Title = {"Eine Klangdatei fehlt", "A sound file is missing"},
    .Problem = {"die Datei \"{0}\" gibt es nicht", "the file \"{0}\" does not exist"},
    .Effect = {"{1}", "{1}"},
    .Advice = {"die Datei dorthin legen, oder den richtigen Namen",
               "put the file there, or the right name"},
    .Explanation = {
        "Ein Klang ist die Datei mit der id des Elements und der Endung .wav im Verzeichnis "
        "nonvoicesounds, die Klingel die Datei bellfile darin. Ob es die Datei gibt, prüft der "
        "Server nicht.",
        "A sound is the file with the element's id and the ending .wav in the directory "
        "nonvoicesounds, the bell the file bellfile in it. The server does not look whether the "
        "file exists."}};

constexpr Rule kUnreadable = {
    .Id = "audio-file-unreadable",
    .Level = Severity::Error,
    .Title = {"Eine Klangdatei kann nicht gelesen werden", "A sound file cannot be read"},
    .Problem = {"die Datei \"{0}\" kann nicht gelesen werden", "the file \"{0}\" cannot be read"},
    .Effect = {"{1}", "{1}"},
    .Advice = {"eine gewöhnliche Datei mit Leserecht für den Benutzer des Servers",
               "a regular file that the server's user may read"},
    .Explanation = {
        "Die Datei ist da, aber sie ist keine gewöhnliche Datei, oder ihr fehlt das Leserecht.",
        "The file is there, but it is no regular file, or it lacks the permission to be read."}};

constexpr Rule kEmpty = {
    .Id = "audio-file-empty",
    .Level = Severity::Error,
    .Title = {"Eine Klangdatei ist leer", "A sound file is empty"},
    .Problem = {"die Datei \"{0}\" enthält keinen Ton", "the file \"{0}\" holds no sound"},
    .Effect = {"{1}", "{1}"},
    .Advice = {"eine Datei mit Ton; eine leere vorbereitete Phrase löschen, dann entsteht sie neu",
               "a file with sound; delete an empty prepared phrase, it is then made anew"},
    .Explanation = {
        "Die Datei hat kein einziges Byte oder nur den Kopf einer .wav-Datei. Das bleibt zurück, "
        "wenn das Schreiben abbricht, etwa weil der Platz nicht reicht.",
        "The file has no byte at all, or only the head of a .wav file. That is what is left when "
        "writing breaks off, e.g. for lack of space."}};

constexpr Rule kNotPcm = {
    .Id = "audio-file-not-pcm",
    .Level = Severity::Warning,
    .Title = {"Eine Klangdatei ist keine .wav-Datei mit PCM",
              "A sound file is no .wav file with PCM"},
    .Problem = {"die Datei \"{0}\" ist keine .wav-Datei mit PCM, sondern {1}",
                "the file \"{0}\" is no .wav file with PCM but {1}"},
    .Effect = {"Er gibt sie weiter, wie sie ist; kann der Spieler sie nicht lesen, so bleibt es "
               "stumm.",
               "It passes the file on as it is; if the player cannot read it, nothing is heard."},
    .Advice = {"die Datei umwandeln, z. B.: sox ALT -e signed -b 16 NEU.wav",
               "convert the file, e.g.: sox OLD -e signed -b 16 NEW.wav"},
    .Explanation = {
        "Nicht jede Sprachmaschine und nicht jeder Spieler liest andere Formate als unkomprimierte "
        "ganze Zahlen (PCM). Die Endung des Namens sagt darüber nichts.",
        "Not every engine and not every player reads other formats than uncompressed integers "
        "(PCM). The ending of the name tells nothing about it."}};

constexpr Rule kSteadyText = {
    .Id = "steady-without-text",
    .Level = Severity::Error,
    .Title = {"Eine vorbereitete Phrase hat weder Text noch Datei",
              "A prepared phrase has neither a text nor a file"},
    .Problem = {"\"{0}\" hat keinen Text, und \"{1}\" gibt es nicht",
                "\"{0}\" has no text, and \"{1}\" does not exist"},
    .Effect = {"Er erzeugt nichts: Die Phrase bleibt stumm.",
               "It makes nothing: the phrase stays silent."},
    .Advice = {"ein Attribut text am Element, oder die Datei dorthin legen",
               "an attribute text of the element, or put the file there"},
    .Explanation = {
        "Aus dem Attribut text entsteht beim Start die Sprachdatei. Ohne Text muss es sie schon "
        "geben.",
        "The speech file is made from the attribute text at start. Without a text it must exist "
        "already."}};

constexpr Rule kSteadyOutdated = {
    .Id = "steady-outdated",
    .Level = Severity::Warning,
    .Title = {"Eine vorbereitete Phrase ist älter als ihr Text",
              "A prepared phrase is older than its text"},
    .Problem = {"\"{0}\" ist älter als der Text daneben",
                "\"{0}\" is older than the text beside it"},
    .Effect = {"Er vergleicht nur den Text, nicht die Zeit, und spielt die alte Aufnahme weiter.",
               "It compares only the text, not the time, and goes on playing the old recording."},
    .Advice = {"die .wav-Datei löschen und den Server neu starten",
               "delete the .wav file and restart the server"},
    .Explanation = {
        "Der Server schreibt erst den Text und lässt dann die Sprachdatei erzeugen. Schlägt das "
        "fehl, so steht der neue Text neben der alten Aufnahme, und kein weiterer Start ändert "
        "daran etwas.",
        "The server writes the text first and has the speech file made then. If that fails, the "
        "new text stands beside the old recording, and no further start changes that."}};

constexpr Rule kRules[] = {kMissing, kUnreadable, kEmpty, kNotPcm, kSteadyText, kSteadyOutdated};

constexpr Bilingual kSoundSilent = {"Der Klang fehlt in der Ansage.",
                                    "The sound is missing in the announcement."};
constexpr Bilingual kBellSilent = {"Auf \"!bell\" ist nichts zu hören.", "\"!bell\" is not heard."};
constexpr Bilingual kSteadySilent = {
    "Er erzeugt die Phrase nicht neu, weil es die Datei gibt: Sie bleibt stumm.",
    "It does not make the phrase anew, since the file exists: it stays silent."};
constexpr Bilingual kCoding = {"eine mit der Kodierung {0}", "one of coding {0}"};
constexpr Bilingual kOtherFile = {"beginnt mit \"{0}\"", "begins with \"{0}\""};

std::string Found(const WaveFile& wave, Language language) {
  return wave.Kind == WaveKind::Compressed ? Say(kCoding, language, wave.Format)
                                           : Say(kOtherFile, language, wave.Content);
}

/// Looks into a file that exists.
bool CheckContent(const std::string& file, const Place& place, const Bilingual& silent,
                  Report& report) {
  const std::string_view effect = silent(report.Lang());
  if (!IsReadableFile(file)) {
    AddFinding(report, kUnreadable, place, file, effect);
    return false;
  }
  const WaveFile wave = InspectWave(file);
  if (wave.Kind == WaveKind::Pcm) return true;
  if (wave.Kind == WaveKind::Empty) {
    AddFinding(report, kEmpty, place, file, effect);
  } else {
    AddFinding(report, kNotPcm, place, file, Found(wave, report.Lang()));
  }
  return false;
}

void CheckFile(const std::string& file, const Place& place, const Bilingual& silent,
               Report& report) {
  if (CkaFile().FileExists(file)) {
    CheckContent(file, place, silent, report);
  } else {
    AddFinding(report, kMissing, place, file, silent(report.Lang()));
  }
}

class SoundCheck {
 public:
  SoundCheck(const CheckInput& input, Report& report) : input_(input), report_(report) {}

  void Run() {
    const ProfileFile config(input_.Station.Config());
    CheckBell(config);
    if (input_.Document == nullptr || input_.Document->References() == nullptr) return;
    for (const Element& element : input_.Document->Elements())
      if (element.Name == "Speech") spoken_.insert(element.Value("id"));
    const auto languages = input_.Document->References()->ChildrenCalled("Language");
    for (const Element* language : languages) {
      CheckSounds(*language);
      const std::string name = language->Value("name");
      if (name == "all") continue;
      CheckSteady(name, *language);
      if (const Element* shared = SharedLanguage(languages)) CheckSteady(name, *shared);
    }
  }

 private:
  static const Element* SharedLanguage(const std::vector<const Element*>& languages) {
    const Element* shared = nullptr;
    for (const Element* language : languages)
      if (language->Value("name") == "all") shared = language;
    return shared;
  }

  /// A configured directory, "" if there is none.
  std::string Directory(const char* key) const {
    const std::string value = input_.Station.Value(key);
    const std::string path = value.empty() ? "" : input_.Station.Resolve(value);
    return IsDirectory(path) ? path : "";
  }

  /// What the configured tag puts behind the name of a file.
  std::string Ending() const {
    const std::string suffix = input_.Station.Value("playsuffix");
    return suffix.empty() ? ".wav" : suffix.substr(0, suffix.find_first_of(") \"'>;,"));
  }

  Place PlaceOf(const Element& element) const {
    const SourcePosition at = element.ValueAt("id");
    return {input_.Document->File(), at.Line, at.Column};
  }

  void CheckBell(const ProfileFile& config) {
    const ProfileRow* bell = config.Find("bellfile");
    const std::string directory = Directory("nonvoicesounds");
    if (bell == nullptr || bell->Value.empty() || directory.empty()) return;
    CheckFile(directory + "/" + bell->Value, config.ValueAt(*bell), kBellSilent, report_);
  }

  void CheckSounds(const Element& language) {
    const std::string directory = Directory("nonvoicesounds");
    if (directory.empty()) return;
    const std::string ending = Ending();
    for (const Element* element : language.ChildrenCalled("Element")) {
      const std::string id = element->Value("id");
      if (element->Value("trait") != "sound" || !spoken_.contains(id)) continue;
      if (!seen_.insert(id).second) continue;
      const std::string file = fs::path(directory) / (id + ending);
      CheckFile(file, PlaceOf(*element), kSoundSilent, report_);
    }
  }

  void CheckSteady(const std::string& language, const Element& section) {
    const fs::path directory = Directory("steadyspeeches");
    if (directory.empty() || !IsDirectory(directory / language)) return;
    for (const Element* element : section.ChildrenCalled("Element")) {
      const std::string id = element->Value("id");
      if (element->Value("trait") == "steady" && spoken_.contains(id))
        CheckPhrase(directory / language / id, *element);
    }
  }

  /// The server makes a speech file only if it is missing or the text has changed.
  void CheckPhrase(const std::string& base, const Element& element) {
    const std::string textFile = base + ".txt";
    const std::string waveFile = base + ".wav";
    const std::string text = element.Value("text");
    const bool hasText = existsf(textFile);
    if (!text.empty() && (!hasText || readf(textFile) != text)) return;
    if (!existsf(waveFile)) {
      if (!hasText)
        AddFinding(report_, kSteadyText, PlaceOf(element), element.Value("id"), waveFile);
      return;
    }
    if (!CheckContent(waveFile, PlaceOf(element), kSteadySilent, report_) || !hasText) return;
    std::error_code unknown;
    if (fs::last_write_time(waveFile, unknown) < fs::last_write_time(textFile, unknown))
      AddFinding(report_, kSteadyOutdated, PlaceOf(element), waveFile);
  }

  const CheckInput& input_;
  Report& report_;
  std::set<std::string> spoken_;
  std::set<std::string> seen_;  ///< sounds that were looked at
};

void Check(const CheckInput& input, Report& report) {
  SoundCheck(input, report).Run();
}

}  // namespace

RuleGroup SoundRules() {
  return {{"Klänge und vorbereitete Phrasen", "Sounds and prepared phrases"}, kRules, Check};
}

}  // namespace tools
