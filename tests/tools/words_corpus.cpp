#include "words_corpus.h"

#include <sstream>
#include <stdexcept>

#include "common/station.h"
#include "demo_station.h"
#include "kaSpeechbuilder.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

std::vector<std::string> Columns(const std::string& line) {
  std::vector<std::string> columns;
  std::istringstream stream(line);
  for (std::string column; std::getline(stream, column, '\t');)
    columns.push_back(column);
  return columns;
}

}  // namespace

std::vector<CorpusPhrase> Corpus(const std::string& language) {
  const std::string name = "tests/tools/words/corpus_" + language + ".tsv";
  std::istringstream lines(support::ReadFile((Project() / name).string()));
  std::vector<CorpusPhrase> phrases;
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (line.starts_with('#')) continue;
    const std::vector<std::string> columns = Columns(line);
    if (columns.size() != 5) {
      throw std::invalid_argument(name + ":" + std::to_string(number) + " has not five columns");
    }
    phrases.push_back({number, columns[0], columns[1], columns[2], columns[3], columns[4]});
  }
  return phrases;
}

std::string VoiceOf(const std::string& language) {
  return language == "en" ? "en-gb" : language;
}

tools::Phonemes& ThePhonemes() {
  static tools::Phonemes phonemes;
  return phonemes;
}

std::string Rewritten(const std::string& text, const std::string& language,
                      const std::string& lexicon) {
  static const support::ServerRoot kRoot(Project().string());
  static const CkaSpeechbuilder kBuilder;
  std::string said;
  tools::Silently(
      [&] { said = kBuilder.UseLexicon(text, "./lexidata/" + language + "/" + lexicon); });
  return said;
}

std::string CorpusPhrase::Said(const std::string& language) const {
  const std::size_t open = Text.find('{');
  if (open == std::string::npos) return Rewritten(Text, language, Lexicon);
  const std::size_t close = Text.find('}', open);
  return Text.substr(0, open) +
         Rewritten(Text.substr(open + 1, close - open - 1), language, Lexicon) +
         Text.substr(close + 1);
}

}  // namespace toolstest
