#include "support/lexicon_model.h"

#include <sys/stat.h>

#include <fstream>
#include <iterator>

namespace model {

namespace {

bool IsFreeInValue(const Masked& masked, std::size_t at, std::size_t length) {
  for (std::size_t i = at; i < at + length; ++i) {
    if (masked.Mask[i] == '*') return false;
  }
  return true;
}

bool IsFreeInText(const Masked& masked, std::size_t at, std::size_t length) {
  std::size_t nextProtected = at;
  while (nextProtected < masked.Mask.size() && masked.Mask[nextProtected] != '*')
    ++nextProtected;
  return nextProtected == masked.Mask.size() || nextProtected >= at + length;
}

void Replace(Masked& masked, std::size_t at, const Entry& entry) {
  masked.Text.erase(at, entry.Name.size());
  masked.Mask.erase(at, entry.Name.size());
  masked.Text.insert(at, entry.Value);
  masked.Mask.insert(at, entry.Value.size(), '*');
}

template <class IsFree>
void ReplaceAll(Masked& masked, const std::vector<Entry>& lexicon, IsFree isFree) {
  for (const Entry& entry : lexicon) {
    std::size_t at = masked.Text.find(entry.Name);
    while (at != std::string::npos) {
      if (isFree(masked, at, entry.Name.size())) Replace(masked, at, entry);
      at = masked.Text.find(entry.Name, at + 1);
    }
  }
}

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The first entry of each name.
std::vector<Entry> MarkupTable(const std::vector<Entry>& configuration) {
  std::map<std::string, bool> seen;
  std::vector<Entry> table;
  for (const Entry& entry : configuration) {
    if (!seen[entry.Name]) table.push_back(entry);
    seen[entry.Name] = true;
  }
  return table;
}

struct Mark {
  std::size_t At;
  std::string Name;
};

std::vector<Mark> Marks(const std::string& text, const std::vector<Entry>& table) {
  std::vector<Mark> marks;
  for (std::size_t from = 0;;) {
    Mark next{std::string::npos, ""};
    for (const Entry& entry : table) {
      const std::size_t at = text.find(entry.Value, from);
      if (entry.Name != "default" && at < next.At) next = {at, entry.Name};
    }
    if (next.At == std::string::npos) return marks;
    marks.push_back(next);
    // By the name's length less one, and forward in any case.
    from = next.At + (next.Name.size() < 2 ? 1 : next.Name.size() - 1);
  }
}

std::string AppliedReference(const std::string& text, const std::string& reference,
                             const std::vector<Entry>& configuration, LexiconFiles& files,
                             Printed& printed) {
  std::vector<std::string> values;
  for (const Entry& entry : configuration) {
    if (entry.Name == reference) values.push_back(entry.Value);
  }
  Masked masked = Free(text);
  if (!values.empty()) {
    printed.Out += "FundMarkup:" + values[0] + "\n";
    const bool atHead = text.substr(0, values[0].size()) == values[0];
    for (std::size_t i = 0; atHead && i < values[0].size(); ++i)
      masked.Mask[i] = '*';
  }
  printed.Out += "FundMarkup done:\n";
  for (std::size_t i = 1; i < values.size(); ++i) {
    printed.Out += "lex1\n";
    const auto& lexicon = files.Read(values[i]);
    if (!lexicon) {
      printed.Err += "Profil-Datei nicht vorhanden:" + files.Path(values[i]) + "\n";
      return masked.Text;
    }
    printed.Err += FaultyRowReports(*lexicon, files.Path(values[i]));
    ReplaceInText(masked, lexicon->Entries);
  }
  printed.Out += masked.Mask + "\n" + masked.Text + "\n\n";
  return masked.Text;
}

}  // namespace

Masked Free(const std::string& text) {
  return {text, std::string(text.size(), '.')};
}

void ReplaceInValue(Masked& masked, const std::vector<Entry>& lexicon) {
  ReplaceAll(masked, lexicon, IsFreeInValue);
}

void ReplaceInText(Masked& masked, const std::vector<Entry>& lexicon) {
  ReplaceAll(masked, lexicon, IsFreeInText);
}

const std::optional<Profile>& LexiconFiles::Read(const std::string& name) {
  const auto known = files_.find(name);
  if (known != files_.end()) return known->second;
  struct stat status {};
  if (stat(Path(name).c_str(), &status) != 0) return none_;
  return files_[name] = ReadProfile(S_ISREG(status.st_mode) ? Contents(Path(name)) : "");
}

std::string UsedLexicon(const std::string& value, const std::string& name, LexiconFiles& files,
                        Printed& printed) {
  const auto& lexicon = files.Read(name);
  if (!lexicon) {
    printed.Err += "Profil-Datei nicht vorhanden:" + files.Path(name) + "\n";
    return value;
  }
  printed.Err += FaultyRowReports(*lexicon, files.Path(name));
  Masked masked = Free(value);
  ReplaceInValue(masked, lexicon->Entries);
  printed.Out += masked.Mask + masked.Text + "\n";
  return masked.Text;
}

std::string AppliedReferences(const std::string& text, const std::vector<Entry>& configuration,
                              LexiconFiles& files, Printed& printed) {
  const std::vector<Entry> table = MarkupTable(configuration);
  for (const Entry& entry : table)
    printed.Out += "Markup: " + entry.Name + "," + entry.Value + "\n";
  const std::vector<Mark> marks = Marks(text, table);
  printed.Out += "Marks:\n";
  for (const Mark& mark : marks)
    printed.Out += std::to_string(mark.At) + "," + mark.Name + "\n";
  printed.Out += "EndOfMarks\n";

  std::string result = text.substr(0, marks.empty() ? text.size() : marks[0].At);
  for (const Entry& entry : table) {
    if (entry.Name != "default") continue;
    result = AppliedReference(result, entry.Value, configuration, files, printed);
  }
  for (std::size_t i = 0; i < marks.size(); ++i) {
    const std::size_t end = i + 1 < marks.size() ? marks[i + 1].At : text.size();
    const std::string segment = text.substr(marks[i].At, end - marks[i].At);
    result += AppliedReference(segment, marks[i].Name, configuration, files, printed);
  }
  printed.Out += "out : " + result + "\n";
  return result;
}

}  // namespace model
