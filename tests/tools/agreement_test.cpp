// The preview and the server's builder on random stations and blocks: not one byte of difference.
// And every reason that the preview gives, evaluated again by a model of its own.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "common/cannot_run.h"
#include "common/station.h"
#include "preview/preview.h"
#include "random_station.h"
#include "station_model.h"
#include "support/block_model.h"
#include "support/lexicon_model.h"
#include "support/recording_shell.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;
using Outcome = tools::BlockPreview::Outcome;
using Texts = std::vector<std::pair<std::string, std::string>>;

std::uint64_t NumberFrom(const char* variable, std::uint64_t otherwise) {
  const char* value = std::getenv(variable);
  return value == nullptr ? otherwise : std::strtoull(value, nullptr, 10);
}

/// What a server does with a message.
struct Served {
  enum class End { NoPorts, Refused, GivenUp, Made } Ending = End::NoPorts;
  Texts Handed;                              ///< files and texts given to the engine, in order
  std::map<std::string, std::string> Store;  ///< the texts that are in the store afterwards
};

constexpr const char* kConfiguration =
    "speechformat=\"./station.xml\"\nnonvoicesounds=\"./sounds\"\nsteadyspeeches=\"./steady\"\n"
    "storetempram=\"./store\"\nplaytempram=\"./play\"\nengineName=\"e\"\n"
    "savespeeche=\"/opt/engine/say\"\n";

/// A memory disk where there is one: each case writes and removes a dozen files.
void PreferMemoryDisk() {
  constexpr const char* kMemoryDisk = "/dev/shm";
  // NOLINTNEXTLINE(concurrency-mt-unsafe): before any thread
  if (access(kMemoryDisk, W_OK) == 0) setenv("TMPDIR", kMemoryDisk, 0);
}

/// A station directory that is filled anew for each case.
class Laboratory {
 public:
  Laboratory() {
    directory_.Write("kaconfig/kaTtsServer.kacfg", kConfiguration);
    for (const char* name : {"store", "play", "sounds", "steady"})
      static_cast<void>(directory_.MakeDir(name));
  }

  void Fill(const std::vector<StationFile>& files) {
    for (const StationFile& file : files)
      directory_.Write(file.Name, file.Content);
  }

  Served Serve(const std::string& message) const {
    ClearStore();
    Served served;
    const support::ServerRoot root(directory_.Path());
    support::RecordingShell shell;
    shell.OnCommand([&served](const std::string& command) {
      const std::size_t opening = command.find('"');
      if (!command.starts_with("cd ") || opening == std::string::npos) return;
      const std::string file = command.substr(opening + 1, command.rfind('"') - opening - 1);
      served.Handed.emplace_back(fs::path(file).filename(), support::ReadFile(file));
    });
    tools::Silently([&] { Receive(message, served); });
    for (const fs::directory_entry& entry : fs::directory_iterator(directory_.Sub("store")))
      served.Store[entry.path().filename()] = support::ReadFile(entry.path());
    return served;
  }

  const support::TempDir& Directory() const { return directory_; }

 private:
  void ClearStore() const {
    for (const fs::directory_entry& entry : fs::directory_iterator(directory_.Sub("store")))
      fs::remove(entry.path());
  }

  /// As the listener and its callback do, in the test's own words up to the builder.
  static void Receive(const std::string& message, Served& served) {
    CkaSpeechbuilder builder;
    try {
      if (!builder.Initialize("./station.xml")) return;
    } catch (const std::out_of_range&) {
      return;
    }
    const std::string read = message.substr(0, std::min<std::size_t>(message.find('\0'), 11'999));
    std::string block = model::UsedPart(read);
    try {
      const bool made = builder.GenerateNewSpeeches(block);
      served.Ending = made ? Served::End::Made : Served::End::Refused;
    } catch (const std::out_of_range&) {
      served.Ending = Served::End::GivenUp;
    }
  }

  support::TempDir directory_;
};

/// What the engine gets of a preview's texts: none that is the last of its file already.
Texts HandedTexts(const tools::BlockPreview& preview) {
  Texts handed;
  std::map<std::string, std::string> last;
  for (const tools::ComposedText& text : preview.Texts) {
    if (!text.bExists) continue;
    const auto [known, isNew] = last.try_emplace(text.Name, "");
    if (known->second != text.Text) handed.emplace_back(text.Name, text.Text);
    known->second = text.Text;
  }
  return handed;
}

std::map<std::string, std::string> StoredTexts(const tools::BlockPreview& preview) {
  std::map<std::string, std::string> store;
  for (const tools::ComposedText& text : preview.Texts)
    if (text.bExists) store[text.Name] = text.Text;
  return store;
}

/// Looks at the reasons of one preview with the model alone.
class ReasonCheck {
 public:
  ReasonCheck(const StationModel& model, const std::string& root, const std::string& block)
      : model_(model), root_(root), files_(root), block_(ParseXml(block)) {
    if (block_) rows_ = StationModel::RowsOf(block_);
  }

  void Check(const tools::BlockPreview& preview) {
    CheckOutcome(preview);
    for (const tools::ComposedText& text : preview.Texts)
      CheckText(text);
  }
  /// How many single statements were looked at.
  std::size_t Statements() const { return statements_; }

 private:
  const StationModel::Row& RowAt(int row) const { return rows_.at(static_cast<std::size_t>(row)); }
  static std::string Value(const StationModel::Row& row, const std::string& name) {
    const auto found = row.find(name);
    return found == row.end() ? "" : found->second;
  }

  void CheckOutcome(const tools::BlockPreview& preview) {
    ++statements_;
    EXPECT_EQ(preview.Result == Outcome::NotWellFormed, !block_);
    EXPECT_NE(preview.Result, Outcome::ExpandsTooFar);
    if (!block_) return;
    EXPECT_EQ(preview.Rows, static_cast<int>(rows_.size()));
    EXPECT_EQ(preview.Result == Outcome::TooFewRows, rows_.size() < model_.MinRows());
    if (preview.Result == Outcome::TooFewRows) return;
    const std::size_t used = std::min<std::size_t>(rows_.size(), model_.MaxRows());
    EXPECT_EQ(preview.UsedRows, static_cast<int>(used));
    CheckMissing(preview, used);
    if (preview.Result == Outcome::Complete || preview.IsGivenUp()) CheckEnd(preview, used);
  }

  void CheckMissing(const tools::BlockPreview& preview, std::size_t used) {
    std::vector<std::pair<int, std::string>> missing;
    for (std::size_t row = 0; row < used; ++row) {
      for (const StationModel::Attribute& attribute : model_.Attributes()) {
        if (attribute.bRequired && Value(rows_[row], attribute.Name).empty()) {
          missing.emplace_back(static_cast<int>(row), attribute.Name);
        }
      }
    }
    std::vector<std::pair<int, std::string>> stated;
    for (const auto& value : preview.Values)
      stated.emplace_back(value.Row, value.Attribute);
    EXPECT_EQ(stated, missing);
    EXPECT_EQ(preview.Result == Outcome::ValueMissing, !missing.empty());
  }

  /// Whether and why the block is given up.
  void CheckEnd(const tools::BlockPreview& preview, std::size_t used) {
    for (std::size_t row = 0; row < used; ++row) {
      const StationModel::Case* failing = model_.FindFailing(rows_[row]);
      if (failing != nullptr) return CheckFailing(preview, static_cast<int>(row), *failing);
      for (std::size_t lang = 0; lang < model_.ReferencedLanguages(); ++lang) {
        const Outcome expected = EndAt(static_cast<int>(row), lang);
        if (expected == Outcome::Complete) continue;
        EXPECT_EQ(preview.Result, expected);
        EXPECT_EQ(preview.FailedRow, static_cast<int>(row));
        EXPECT_EQ(preview.FailedLanguage, static_cast<int>(lang));
        return;
      }
    }
    EXPECT_EQ(preview.Result, Outcome::Complete);
  }

  void CheckFailing(const tools::BlockPreview& preview, int row,
                    const StationModel::Case& failing) {
    EXPECT_EQ(preview.Result, Outcome::CaseOutsideValue);
    EXPECT_EQ(preview.FailedRow, row);
    ASSERT_TRUE(preview.Failed);
    EXPECT_EQ(preview.Failed->Name, failing.Id);
    EXPECT_EQ(preview.Failed->Line, failing.Line);
    EXPECT_EQ(preview.Failed->Value, Value(RowAt(row), preview.Failed->Case.FirstValRef));
    EXPECT_GT(static_cast<std::size_t>(preview.Failed->Case.Begin), preview.Failed->Value.size());
  }

  Outcome EndAt(int row, std::size_t lang) const {
    if (lang >= model_.Languages().size()) return Outcome::LanguageMissing;
    const auto& language = model_.Languages()[lang];
    const std::size_t index = IndexFor(language, row).second;
    return HasPosition(language, index) && index >= language.Announcements.size()
               ? Outcome::AnnouncementMissing
               : Outcome::Complete;
  }

  /// The first announcement that fits, -1 if none does, and the index that follows from it.
  static std::pair<int, std::size_t> IndexFor(const StationModel::Language& language, int row) {
    for (std::size_t i = 0; i < language.Announcements.size(); ++i) {
      const auto& announcement = language.Announcements[i];
      if (row == announcement.Position || row <= announcement.PositionMax) {
        return {static_cast<int>(i), announcement.Position != 0 ? 1 : 0};
      }
    }
    return {-1, 1};
  }

  static bool HasPosition(const StationModel::Language& language, std::size_t index) {
    return std::any_of(language.Announcements.begin(), language.Announcements.end(),
                       [index](const StationModel::Announcement& announcement) {
                         return announcement.Position == static_cast<int>(index);
                       });
  }

  void CheckText(const tools::ComposedText& text) {
    ASSERT_TRUE(text.Why);
    const tools::Explanation& why = *text.Why;
    const auto found =
        std::find_if(model_.Languages().begin(), model_.Languages().end(),
                     [&](const StationModel::Language& l) { return IsFor(l, text, why); });
    ASSERT_NE(found, model_.Languages().end()) << "no language fits " << text.Name;
    std::string joined = why.Choice.bExists ? why.GeneralPrefix + " " : "";
    for (std::size_t i = 0; i < why.Phrases.size(); ++i) {
      joined += why.Phrases[i].Trace.Piece;
      CheckPhrase(*found, PhrasesOf(*found, why).at(i), why.Phrases[i], text.Row);
    }
    EXPECT_EQ(joined, text.Text);
    EXPECT_EQ(text.Name, text.Language + std::to_string(text.Row));
  }

  static const std::vector<StationModel::Phrase>& PhrasesOf(const StationModel::Language& language,
                                                            const tools::Explanation& why) {
    return language.Announcements.at(static_cast<std::size_t>(why.Choice.Index)).Phrases;
  }

  /// Whether the explanation is that of this language; several may have one name.
  bool IsFor(const StationModel::Language& language, const tools::ComposedText& text,
             const tools::Explanation& why) {
    ++statements_;
    const auto [fitting, index] = IndexFor(language, text.Row);
    const bool exists = HasPosition(language, index);
    if (language.Name != text.Language || why.Choice.Fitting != fitting ||
        why.Choice.Index != static_cast<int>(index) || why.Choice.bExists != exists) {
      return false;
    }
    if (!exists) return true;
    const auto& phrases = PhrasesOf(language, why);
    return language.Prefix == why.GeneralPrefix &&
           std::equal(phrases.begin(), phrases.end(), why.Phrases.begin(), why.Phrases.end(),
                      [](const StationModel::Phrase& a, const tools::PhraseReason& b) {
                        return a.Element == b.Phrase.RefId && a.Condition == b.Phrase.Condition &&
                               a.Prefix == b.Phrase.Prefix && a.Suffix == b.Phrase.Suffix &&
                               a.Lexicon == b.Phrase.Lexicon;
                      });
  }

  void CheckPhrase(const StationModel::Language& language, const StationModel::Phrase& phrase,
                   const tools::PhraseReason& reason, int row) {
    ++statements_;
    const bool spoken = phrase.Condition.empty() || model_.Holds(phrase.Condition, RowAt(row));
    EXPECT_EQ(reason.Trace.bSpoken, spoken);
    EXPECT_EQ(reason.Case.has_value(), !phrase.Condition.empty());
    if (reason.Case) {
      EXPECT_EQ(reason.Case->bHolds, spoken);
      CheckCase(*reason.Case, phrase.Condition, RowAt(row));
    }
    EXPECT_EQ(reason.Trace.Piece, spoken ? PieceOf(language, phrase, row) : "");
    const bool isValue = model_.TraitOf(language.Name, phrase.Element) == "temp";
    if (spoken && isValue) CheckValue(language, phrase, reason, row);
  }

  std::string PieceOf(const StationModel::Language& language, const StationModel::Phrase& phrase,
                      int row) {
    const std::string trait = model_.TraitOf(language.Name, phrase.Element);
    const std::string file = phrase.Element + ".wav) ";
    if (trait == "sound") return " \\audio(play=" + root_ + "/sounds/" + file;
    if (trait == "steady")
      return " \\audio(play=" + root_ + "/steady/" + language.Name + "/" + file;
    if (trait != "temp") return "";
    std::string value = Value(RowAt(row), model_.AttributeOf(phrase.Element));
    if (phrase.Lexicon.size() > 1) {
      model::Printed ignored;
      value = model::UsedLexicon(value, language.Name + "/" + phrase.Lexicon, files_, ignored);
    }
    return phrase.Prefix + value + phrase.Suffix;
  }

  void CheckValue(const StationModel::Language& language, const StationModel::Phrase& phrase,
                  const tools::PhraseReason& reason, int row) {
    const kaPhraseTrace& trace = reason.Trace;
    const std::string attribute = model_.AttributeOf(phrase.Element);
    EXPECT_EQ(trace.Attribute, attribute);
    EXPECT_EQ(trace.Value, Value(RowAt(row), attribute));
    EXPECT_EQ(trace.LexiconPath.empty(), phrase.Lexicon.size() < 2);
    if (trace.LexiconPath.empty()) return;
    const std::string file = root_ + "/lexidata/" + language.Name + "/" + phrase.Lexicon;
    EXPECT_EQ(trace.LexiconPath, file);
    EXPECT_EQ(trace.bLexiconLoaded, fs::exists(file));
    CheckReplacements(phrase, reason);
  }

  /// What is stated to be replaced stands in the stated line, and done one after another it makes
  /// the text.
  void CheckReplacements(const StationModel::Phrase& phrase, const tools::PhraseReason& reason) {
    const kaPhraseTrace& trace = reason.Trace;
    std::string text = trace.Value;
    ASSERT_EQ(reason.EntryLines.size(), trace.Replacements.size());
    for (std::size_t i = 0; i < trace.Replacements.size(); ++i) {
      ++statements_;
      const kaReplacement& replacement = trace.Replacements[i];
      model::Entry entry;
      EXPECT_EQ(model::ReadRow(LineOf(trace.LexiconPath, reason.EntryLines[i]), entry), 1);
      EXPECT_EQ(entry.Name, replacement.Word);
      EXPECT_EQ(entry.Value, replacement.Value);
      ASSERT_EQ(text.substr(replacement.Position, entry.Name.size()), entry.Name);
      text.replace(replacement.Position, entry.Name.size(), entry.Value);
    }
    EXPECT_EQ(trace.Piece, phrase.Prefix + text + phrase.Suffix);
  }

  static std::string LineOf(const std::string& file, int number) {
    std::istringstream stream(support::ReadFile(file));
    std::string line;
    for (int i = 0; i < number; ++i)
      std::getline(stream, line);
    return line;
  }

  void CheckCase(const tools::CaseReason& reason, const std::string& name,
                 const StationModel::Row& row) {
    using Kind = tools::CaseReason::Kind;
    ++statements_;
    const StationModel::Case* c = model_.Find(name);
    EXPECT_EQ(reason.Name, name);
    EXPECT_EQ(reason.What == Kind::Missing, c == nullptr);
    EXPECT_EQ(reason.bHolds, model_.Holds(name, row)) << name;
    if (c == nullptr) return;
    EXPECT_EQ(reason.Line, c->Line);
    if (!c->bSimple) {
      EXPECT_EQ(reason.What, Kind::Combination);
      return CheckCombination(reason, *c, row);
    }
    const bool isPart = c->Words.contains("substr");
    EXPECT_EQ(reason.What, isPart ? Kind::Part : Kind::Length);
    const std::string attribute = Value(c->Words, isPart ? "substr" : "strlen");
    EXPECT_EQ(reason.Case.FirstValRef, attribute);
    EXPECT_EQ(reason.Value, Value(row, attribute));
    EXPECT_EQ(reason.Case.SecondVal, Value(c->Words, "value"));
    EXPECT_EQ(tools::ComparisonWord(reason.Case.Operator), Value(c->Words, "operator"));
    if (isPart) {
      EXPECT_EQ(reason.Part, StationModel::PartOf(*c, row));
    }
  }

  void CheckCombination(const tools::CaseReason& reason, const StationModel::Case& c,
                        const StationModel::Row& row) {
    const std::string stated = tools::CombinationWord(reason.Case.Operator);
    const std::string word = c.Words.contains("operator") ? Value(c.Words, "operator") : "AND";
    constexpr std::array kKnown = {"AND", "OR", "NOR", "NAND"};
    const bool isKnown = std::find(kKnown.begin(), kKnown.end(), word) != kKnown.end();
    EXPECT_EQ(stated, word == "NOT" ? "NAND" : isKnown ? word : "");
    if (reason.bAbridged) return;
    ASSERT_EQ(reason.Cases.size(), c.References.size());
    for (std::size_t i = 0; i < reason.Cases.size(); ++i)
      CheckCase(reason.Cases[i], c.References[i], row);
  }

  const StationModel& model_;
  std::string root_;
  model::LexiconFiles files_;
  XmlTree block_;
  std::vector<StationModel::Row> rows_;
  std::size_t statements_ = 0;
};

struct Counts {
  std::size_t NoPorts = 0;
  std::size_t Refused = 0;
  std::size_t GivenUp = 0;
  std::size_t Made = 0;
  std::size_t Texts = 0;
  std::size_t Statements = 0;
};

void CheckBlock(tools::Preview& preview, const Served& served, const std::string& message,
                const StationModel& model, const std::string& root, Counts& counts) {
  const tools::BlockPreview previewed = preview.Of(message, true);
  EXPECT_EQ(previewed.Result == Outcome::Complete, served.Ending == Served::End::Made);
  EXPECT_EQ(previewed.IsGivenUp(), served.Ending == Served::End::GivenUp);
  EXPECT_EQ(HandedTexts(previewed), served.Handed);
  EXPECT_EQ(StoredTexts(previewed), served.Store);
  const std::string read = message.substr(0, std::min<std::size_t>(message.find('\0'), 11'999));
  ReasonCheck reasons(model, root, model::UsedPart(read));
  reasons.Check(previewed);
  counts.Refused += served.Ending == Served::End::Refused ? 1 : 0;
  counts.GivenUp += served.Ending == Served::End::GivenUp ? 1 : 0;
  counts.Made += served.Ending == Served::End::Made ? 1 : 0;
  counts.Texts += served.Handed.size();
  counts.Statements += reasons.Statements();
}

/// One random station and one random message.
void CheckCase(Laboratory& laboratory, std::uint64_t seed, Counts& counts) {
  Dice dice(seed);
  const std::vector<StationFile> files = RandomStationFiles(dice);
  const std::string message = RandomMessage(dice);
  laboratory.Fill(files);
  const StationModel model(files.front().Content);
  const Served served = laboratory.Serve(message);
  EXPECT_EQ(model.IsUsable(), served.Ending != Served::End::NoPorts);
  try {
    const tools::Station station(laboratory.Directory().Path());
    tools::Preview preview(station);
    EXPECT_NE(served.Ending, Served::End::NoPorts);
    CheckBlock(preview, served, message, model, station.Root(), counts);
  } catch (const tools::CannotRun&) {
    EXPECT_EQ(served.Ending, Served::End::NoPorts);
    ++counts.NoPorts;
  }
  if (!::testing::Test::HasFailure()) return;
  std::cout << "first failure: KA_SEED=" << seed << " KA_CASES=1\n"
            << files.front().Content << "\n---\n"
            << message << "\n";
}

constexpr std::uint64_t kShares = 4;

/// The cases in several tests, which may run beside one another. Case number i has the seed
/// KA_SEED + i, so that each can be had alone.
class Agreement : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(Agreement, PreviewAndServerMakeTheSameOfRandomStationsAndBlocks) {
  const std::uint64_t all = NumberFrom("KA_CASES", 10'000);
  const std::uint64_t first = NumberFrom("KA_SEED", 20261122) + GetParam() * all / kShares;
  const std::uint64_t end = NumberFrom("KA_SEED", 20261122) + (GetParam() + 1) * all / kShares;
  std::cout << "seeds " << first << " to " << end - 1 << " (KA_SEED, KA_CASES)" << std::endl;
  PreferMemoryDisk();
  Laboratory laboratory;
  Counts counts;
  for (std::uint64_t seed = first; seed < end && !HasFailure(); ++seed)
    CheckCase(laboratory, seed, counts);
  std::cout << "no ports " << counts.NoPorts << ", refused " << counts.Refused << ", given up "
            << counts.GivenUp << ", made " << counts.Made << ", texts " << counts.Texts
            << ", statements " << counts.Statements << std::endl;
  const std::uint64_t cases = end - first;
  if (HasFailure() || cases < 1000) return;
  // Every kind of end occurs often enough to mean something.
  EXPECT_GT(counts.NoPorts, cases / 50);
  EXPECT_GT(counts.Refused, cases / 20);
  EXPECT_GT(counts.GivenUp, cases / 20);
  EXPECT_GT(counts.Made, cases / 3);
}

INSTANTIATE_TEST_SUITE_P(Shares, Agreement, ::testing::Range<std::uint64_t>(0, kShares));

}  // namespace

}  // namespace toolstest
