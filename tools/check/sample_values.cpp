#include "check/sample_values.h"

#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include "check/document_index.h"
#include "kaProfile.h"
#include "kaRBLDataContent.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

/// The files of a directory in the order of their names; none if it cannot be read.
std::set<fs::path> FilesOf(const fs::path& directory) {
  std::error_code unreadable;
  std::set<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, unreadable))
    files.insert(entry.path());
  return files;
}

/// The row attribute that an element says: the last assigned to it.
std::unordered_map<std::string, std::string> AttributesByElement(const Document& document) {
  std::unordered_map<std::string, std::string> attributes;
  for (const Element* attribute : RowAttributes(document))
    attributes[attribute->Value("assignto")] = attribute->Value("name");
  return attributes;
}

}  // namespace

SampleValues::SampleValues(const Station& station, const Document& document) {
  AddCases(document);
  AddBlocks((document.File().parent_path() / "blocks").string());
  AddLexica(station, document);
}

std::span<const PlacedText> SampleValues::Of(const std::string& attribute) const {
  const auto texts = texts_.find(attribute);
  if (texts == texts_.end()) return {};
  return texts->second;
}

const std::string* SampleValues::WithWideCharacters(const std::string& attribute) const {
  const auto example = examples_.find(attribute);
  return example == examples_.end() ? nullptr : &example->second;
}

void SampleValues::Add(const std::string& attribute, PlacedText text) {
  if (IsAscii(text.Text)) return;
  examples_.try_emplace(attribute, text.Text);
  texts_[attribute].push_back(std::move(text));
}

void SampleValues::AddBlocks(const std::string& directory) {
  std::set<std::pair<std::string, std::string>> seen;
  for (const fs::path& file : FilesOf(directory)) {
    std::error_code unknown;
    if (file.extension() != ".xml" || !fs::is_regular_file(file, unknown)) continue;
    Silently([&] {
      CkaRBLDataContent content;
      if (!content.Initialize(Read(file), false, true)) return;
      content.ReadContent();
      for (const auto& row : content.Rows) {
        for (const auto& value : row.Values) {
          if (seen.emplace(value.Name, value.Value).second) Add(value.Name, {value.Value});
        }
      }
    });
  }
}

void SampleValues::AddCases(const Document& document) {
  for (const Element* caseElement : Cases(document)) {
    const std::string word = caseElement->Value("operator");
    if (TestOf(*caseElement) != "substr" || (word != "eq" && word != "ne")) continue;
    Add(TestedAttribute(*caseElement),
        {caseElement->Value("value"), caseElement->Number("begin"), caseElement});
  }
}

void SampleValues::AddLexica(const Station& station, const Document& document) {
  const auto attributes = AttributesByElement(document);
  std::set<std::pair<std::string, std::string>> seen;
  for (const Element* language : SpokenLanguages(document)) {
    const std::string directory = station.LexiconDir(language->Value("name")) + "/";
    for (const Phrase& phrase : PhrasesOfLanguage(*language)) {
      const auto attribute = attributes.find(phrase.Speech->Value("id"));
      const std::string lexicon = phrase.Speech->Value("lexicon");
      if (attribute == attributes.end() || lexicon.size() < 2) continue;
      if (seen.emplace(attribute->second, directory + lexicon).second) {
        AddLexicon(attribute->second, directory + lexicon);
      }
    }
  }
}

void SampleValues::AddLexicon(const std::string& attribute, const std::string& file) {
  std::error_code unknown;
  if (examples_.contains(attribute) || !fs::is_regular_file(file, unknown)) return;
  CkaProfile lexicon;
  Silently([&] { lexicon.Initialize(file); });
  for (const CkaProfile::ProfileEntry& entry : lexicon.ProfValues) {
    // A single character stands for one between words, not for a value.
    if (IsAscii(entry.var) || CharacterCount(entry.var) == 1) continue;
    examples_.emplace(attribute, entry.var);
    return;
  }
}

}  // namespace tools
