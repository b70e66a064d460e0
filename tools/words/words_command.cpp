#include "words/words_command.h"

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "common/block_files.h"
#include "words/lexicon_file.h"
#include "words/speaker.h"
#include "words/word_list.h"
#include "words/words_report.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kDescription = {"zeigt, wie die Engine Wörter ausspricht, und ergänzt Lexika",
                                    "shows how the engine says words, and adds to lexica"};
constexpr Bilingual kRisk = {"nur Wörter mit so viel Risiko; Status 1, wenn es solche gibt",
                             "only words with that much risk; status 1 if there are any"};
constexpr Bilingual kTry = {"zeigt, wie dieser Text gesprochen wird",
                            "shows how this text is spoken"};
constexpr Bilingual kIn = {"Sprache der Station für --try (sonst ihre erste)",
                           "language of the station for --try (default: its first)"};
constexpr Bilingual kLexicon = {"Lexikon für --try oder --add", "lexicon for --try or --add"};
constexpr Bilingual kPlay = {"spricht den Text von --try", "speaks the text of --try"};
constexpr Bilingual kAudio = {"speichert den Text von --try als .wav",
                              "saves the text of --try as .wav"};
constexpr Bilingual kAdd = {"schreibt einen Eintrag in ein Lexikon: Sprache, Wort, Ersatz",
                            "writes an entry into a lexicon: language, word, replacement"};

constexpr Bilingual kNothing = {"Datenblöcke, --try oder --add fehlt.",
                                "There are no data blocks, no --try and no --add."};
constexpr Bilingual kNoLanguage = {"Die Sprache \"{0}\" gibt es nicht; es gibt {1}.",
                                   "There is no language \"{0}\"; there is {1}."};
constexpr Bilingual kNoLexicon = {"Das Lexikon \"{0}\" gibt es nicht; es gibt {1}.",
                                  "There is no lexicon \"{0}\"; there is {1}."};
constexpr Bilingual kWhichLexicon = {"Welches Lexikon? --lexicon nennt eins von {0}.",
                                     "Which lexicon? --lexicon names one of {0}."};
constexpr Bilingual kEngineFailed = {"Die Engine der Station ist gescheitert.",
                                     "The station's engine has failed."};
constexpr Bilingual kPresent = {"{0}:{1} hat \"{2}\" schon, als \"{3}\". Nichts geschrieben.\n",
                                "{0}:{1} has \"{2}\" already, as \"{3}\". Nothing written.\n"};
constexpr Bilingual kWritten = {"{0}:{1}: geschrieben\n", "{0}:{1}: written\n"};
constexpr Bilingual kTaken = {
    "  Der Eintrag steht vor \"{1}\" ({0}:{2}), das ihm sonst den Text genommen hätte.\n",
    "  The entry stands before \"{1}\" ({0}:{2}), which would have taken its text.\n"};
constexpr Bilingual kLoses = {
    "  Achtung: Er nimmt nun \"{1}\" ({0}:{2}) den Text, das das Wort enthält.\n",
    "  Mind: it now takes the text of \"{1}\" ({0}:{2}), which holds the word.\n"};

struct WordsOptions {
  std::vector<fs::path> Blocks;
  int Risk = 0;
  std::string Try;
  std::string In;
  std::string Lexicon;
  bool bPlay = false;
  std::string Audio;
  std::vector<std::string> Add;
};

/// Bad usage that only the station tells.
class Misuse : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

template <class Names>
std::string Listed(const Names& names) {
  std::string text;
  for (const std::string& name : names)
    text += (text.empty() ? "" : ", ") + name;
  return text;
}

void RequireOneOf(const std::vector<std::string>& known, const std::string& name,
                  const Bilingual& problem, Language lang) {
  if (std::find(known.begin(), known.end(), name) == known.end()) {
    throw Misuse(Say(problem, lang, name, Listed(known)));
  }
}

// ---- The list ----

void ListWords(Wording& wording, const Report& names, const WordsOptions& options,
               Context& context) {
  std::vector<SpokenWord> words = wording.Words(BlockFiles(options.Blocks));
  std::erase_if(words, [&](const SpokenWord& word) { return word.Doubt.Points < options.Risk; });
  Print(context.bJson ? WordsAsJson(words, names).dump(2) + "\n"
                      : WordsAsText(words, names, context.UsesColor()));
  context.Status = options.Risk > 0 && !words.empty() ? 1 : 0;
}

// ---- One text ----

void TryText(Wording& wording, const Station& station, const Report& names,
             const WordsOptions& options, Context& context) {
  const std::vector<std::string> languages = wording.Languages();
  const std::string language =
      options.In.empty() && !languages.empty() ? languages.front() : options.In;
  RequireOneOf(languages, language, kNoLanguage, context.Lang);
  if (!options.Lexicon.empty()) {
    RequireOneOf(wording.LexicaOf(language), options.Lexicon, kNoLexicon, context.Lang);
  }
  const SpokenText spoken = wording.Speak(options.Try, language, options.Lexicon);
  Print(context.bJson ? TrialAsJson(spoken, names).dump(2) + "\n"
                      : TrialAsText(spoken, names, context.UsesColor()));
  const std::string text = wording.GeneralPrefix(language) + " " + spoken.Said;
  const bool heard = (!options.bPlay || Play(station, text)) &&
                     (options.Audio.empty() || Save(station, text, options.Audio));
  if (!heard) throw Misuse(std::string(kEngineFailed(context.Lang)));
}

// ---- A new entry ----

/// The lexicon for a new word: the one asked for, else the only one that fits.
std::string LexiconFor(Wording& wording, const std::string& language, const std::string& word,
                       const WordsOptions& options, Language lang) {
  const std::vector<std::string> all = wording.LexicaOf(language);
  if (!options.Lexicon.empty()) {
    RequireOneOf(all, options.Lexicon, kNoLexicon, lang);
    return options.Lexicon;
  }
  const std::set<std::string> fitting =
      wording.LexicaWith(word, language, BlockFiles(options.Blocks));
  if (fitting.size() == 1) return *fitting.begin();
  if (all.size() == 1) return all.front();
  throw Misuse(Say(kWhichLexicon, lang, fitting.empty() ? Listed(all) : Listed(fitting)));
}

void PrintAddition(const LexiconFile& lexicon, const LexiconAddition& addition, const Report& names,
                   const Context& context) {
  const std::string name = names.DisplayName(lexicon.File());
  const auto word = [&](std::size_t row) { return lexicon.Rows()[row].Entry.var; };
  // Rows from the new one on stand one line further down.
  const auto line = [&](std::size_t row) { return lexicon.Rows()[row].Line + 1; };
  if (context.bJson) {
    nlohmann::ordered_json loses = nlohmann::ordered_json::array();
    for (const std::size_t row : addition.Loses)
      loses.push_back({{"line", line(row)}, {"word", word(row)}});
    nlohmann::ordered_json json = {{"file", name}, {"line", addition.Line}};
    if (addition.WouldTake) {
      json["before"] = {{"line", line(*addition.WouldTake)}, {"word", word(*addition.WouldTake)}};
    }
    json["loses"] = std::move(loses);
    Print(json.dump(2) + "\n");
    return;
  }
  Print(Say(kWritten, context.Lang, name, addition.Line));
  if (addition.WouldTake) {
    Print(Say(kTaken, context.Lang, name, word(*addition.WouldTake), line(*addition.WouldTake)));
  }
  for (const std::size_t row : addition.Loses)
    Print(Say(kLoses, context.Lang, name, word(row), line(row)));
}

void AddEntry(Wording& wording, const Station& station, const Report& names,
              const WordsOptions& options, Context& context) {
  const std::string& language = options.Add[0];
  const std::string& word = options.Add[1];
  const std::string& replacement = options.Add[2];
  RequireOneOf(wording.Languages(), language, kNoLanguage, context.Lang);
  if (const std::optional<Bilingual> problem = Unwritable(word, replacement)) {
    throw Misuse(std::string((*problem)(context.Lang)));
  }
  const LexiconFile lexicon(fs::path(station.LexiconDir(language)) /
                            LexiconFor(wording, language, word, options, context.Lang));
  const LexiconAddition addition = Add(lexicon, word, replacement);
  if (addition.Present) {
    const LexiconRow& row = lexicon.Rows()[*addition.Present];
    PrintError(Say(kPresent, context.Lang, names.DisplayName(lexicon.File()), row.Line, word,
                   row.Entry.value));
    context.Status = 1;
    return;
  }
  ReplaceFile(lexicon.File(), addition.Bytes);
  PrintAddition(lexicon, addition, names, context);
}

void RunWords(const WordsOptions& options, Context& context) {
  try {
    const Station station(context.StationDir);
    const Report names(context.Lang, station.Root());
    Wording wording(station);
    if (!options.Add.empty()) {
      AddEntry(wording, station, names, options, context);
    } else if (!options.Try.empty()) {
      TryText(wording, station, names, options, context);
    } else if (!options.Blocks.empty()) {
      ListWords(wording, names, options, context);
    } else {
      throw Misuse(std::string(kNothing(context.Lang)));
    }
  } catch (const Misuse& misuse) {
    PrintError("ka-tts words: " + std::string(misuse.what()) + "\n");
    context.Status = 2;
  }
}

}  // namespace

CLI::App* AddWordsCommand(CLI::App& app, Context& context) {
  const Language lang = context.Lang;
  CLI::App* command = app.add_subcommand("words", std::string(kDescription(lang)));
  AddCommonOptions(*command, context);
  const auto options = std::make_shared<WordsOptions>();
  command->add_option("BLOCK", options->Blocks, std::string(kBlockFiles(lang)))->type_name("");
  command->add_option("--risk", options->Risk, std::string(kRisk(lang)))
      ->type_name("POINTS")
      ->check(CLI::Validator(CLI::PositiveNumber).description(""));
  CLI::Option* tried =
      command->add_option("--try", options->Try, std::string(kTry(lang)))->type_name("TEXT");
  command->add_option("--in", options->In, std::string(kIn(lang)))->type_name("LANG")->needs(tried);
  command->add_option("--lexicon", options->Lexicon, std::string(kLexicon(lang)))
      ->type_name("NAME");
  command->add_flag("--play", options->bPlay, std::string(kPlay(lang)))->needs(tried);
  command->add_option("--audio", options->Audio, std::string(kAudio(lang)))
      ->type_name("FILE")
      ->needs(tried);
  command->add_option("--add", options->Add, std::string(kAdd(lang)))
      ->type_name("LANG WORD REPLACEMENT")
      ->type_size(3)
      ->allow_extra_args(false)
      ->expected(1)
      ->excludes(tried);
  command->callback([options, &context] { RunWords(*options, context); });
  return command;
}

}  // namespace tools
