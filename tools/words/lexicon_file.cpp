#include "words/lexicon_file.h"

#include <algorithm>
#include <numeric>

#include "common/cannot_run.h"
#include "common/replacement.h"
#include "common/station.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kNotWritten = {"kann nicht geschrieben werden", "cannot be written"};
constexpr Bilingual kEmptyWord = {"Das Wort ist leer.", "The word is empty."};
constexpr Bilingual kLineEnd = {
    "Zeilenenden und andere Steuerzeichen können in einem Lexikon nicht stehen.",
    "Line ends and other control characters cannot stand in a lexicon."};
constexpr Bilingual kQuote = {
    "Ein Anführungszeichen (\") kann in einem Lexikon nicht stehen: Es begrenzt den Ersatz.",
    "A double quote (\") cannot stand in a lexicon: it limits the replacement."};
constexpr Bilingual kEquals = {"Ein Wort reicht bis zum ersten \"=\" und kann keines enthalten.",
                               "A word reaches up to the first \"=\" and cannot hold one."};
constexpr Bilingual kBlank = {
    "Ein Wort kann nicht mit einem Leerzeichen beginnen: Der Server lässt es weg.",
    "A word cannot begin with a blank: the server leaves it out."};
constexpr Bilingual kComment = {
    "Ein Wort kann nicht mit \"#\" oder \"[\" beginnen: Der Server übergeht solche Zeilen.",
    "A word cannot begin with \"#\" or \"[\": the server skips such rows."};

bool HoldsControl(const std::string& text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

std::string RowText(const std::string& word, const std::string& replacement) {
  return word + "=\"" + replacement + "\"";
}

std::string LineEndOf(const std::string& bytes) {
  const std::size_t end = bytes.find('\n');
  return end != std::string::npos && end > 0 && bytes[end - 1] == '\r' ? "\r\n" : "\n";
}

void ApplyTo(Rewriting& rewriting, const kaReplacement& replacement) {
  const std::size_t size = replacement.Word.size();
  const auto first = rewriting.Origin.begin() + static_cast<std::ptrdiff_t>(replacement.Position);
  const auto last = first + static_cast<std::ptrdiff_t>(size);
  const std::size_t origin = *first;
  std::for_each(first, last, [&](std::size_t byte) { rewriting.Row[byte] = replacement.Entry; });
  const auto behind = rewriting.Origin.erase(first, last);
  rewriting.Origin.insert(behind, replacement.Value.size(), origin);
  rewriting.Said.replace(replacement.Position, size, replacement.Value);
}

}  // namespace

Rewriting Unchanged(const std::string& text) {
  Rewriting rewriting{text, std::vector<std::size_t>(text.size()), {}};
  std::iota(rewriting.Origin.begin(), rewriting.Origin.end(), 0U);
  rewriting.Row.resize(text.size());
  return rewriting;
}

LexiconFile::LexiconFile(const fs::path& file) : file_(file), bytes_(Read(file)) {
  Silently([this] { ReadRows(); });
}

void LexiconFile::ReadRows() {
  CkaProfile profile;
  int line = 1;
  for (std::size_t begin = 0; begin < bytes_.size(); ++line) {
    const std::size_t end = std::min(bytes_.find('\n', begin), bytes_.size());
    if (profile.CheckRow(bytes_.substr(begin, end - begin)) == 1) {
      rows_.push_back({profile.ProfValues.back(), line, begin});
    }
    begin = end + 1;
  }
  lexicon_.emplace(profile.ProfValues);
}

Rewriting LexiconFile::Rewrite(const std::string& text) const {
  kaMaskedText masked = MakeFreeText(text);
  std::vector<kaReplacement> replacements;
  lexicon_->ApplyTo(masked, &replacements);
  Rewriting rewriting = Unchanged(text);
  for (const kaReplacement& replacement : replacements)
    ApplyTo(rewriting, replacement);
  return rewriting;
}

std::optional<Bilingual> Unwritable(const std::string& word, const std::string& replacement) {
  if (word.empty()) return kEmptyWord;
  if (HoldsControl(word) || HoldsControl(replacement)) return kLineEnd;
  if ((word + replacement).find('"') != std::string::npos) return kQuote;
  if (word.find('=') != std::string::npos) return kEquals;
  if (word.front() == ' ') return kBlank;
  if (word.front() == '#' || word.front() == '[') return kComment;
  return std::nullopt;
}

LexiconAddition Add(const LexiconFile& lexicon, const std::string& word,
                    const std::string& replacement) {
  const std::vector<LexiconRow>& rows = lexicon.Rows();
  LexiconAddition addition;
  addition.Bytes = lexicon.Bytes();
  for (std::size_t i = 0; i < rows.size() && !addition.Present; ++i) {
    if (rows[i].Entry.var == word) addition.Present = i;
  }
  if (addition.Present) return addition;

  for (const std::optional<std::size_t>& row : lexicon.Rewrite(word).Row) {
    if (row) addition.WouldTake = std::min(*row, addition.WouldTake.value_or(*row));
  }
  const std::string end = LineEndOf(addition.Bytes);
  std::size_t at = addition.Bytes.size();
  if (addition.WouldTake) {
    at = rows[*addition.WouldTake].Offset;
  } else if (at > 0 && addition.Bytes.back() != '\n') {
    addition.Bytes += end;
    at = addition.Bytes.size();
  }
  for (std::size_t i = addition.WouldTake.value_or(rows.size()); i < rows.size(); ++i) {
    if (rows[i].Entry.var.find(word) != std::string::npos) addition.Loses.push_back(i);
  }
  const auto before = addition.Bytes.begin() + static_cast<std::ptrdiff_t>(at);
  addition.Line = 1 + static_cast<int>(std::count(addition.Bytes.begin(), before, '\n'));
  addition.Bytes.insert(at, RowText(word, replacement) + end);
  return addition;
}

void ReplaceFile(const fs::path& file, const std::string& bytes) {
  Replacement replacement(file);
  if (!WriteAll(replacement.Descriptor(), bytes.data(), bytes.size()))
    throw CannotRun(kNotWritten, file);
  replacement.Commit();
}

}  // namespace tools
