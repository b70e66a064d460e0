#include "support/block_model.h"

#include <algorithm>
#include <utility>

#include "support/path_model.h"

namespace model {

std::string UsedPart(const std::string& text) {
  std::size_t last = text.size();
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '<' || text[i] == '/') last = i;
  }
  std::size_t end = last;
  while (end < text.size() && text[end] != '>')
    ++end;
  return Before(end < text.size() ? text.substr(0, end + 1) : text, "///");
}

BlockReceiver::BlockReceiver(const CkaSpeechbuilder& builder, LexiconFiles& files,
                             std::set<std::string> speechFiles)
    : builder_(builder), files_(files), speechFiles_(std::move(speechFiles)) {}

void BlockReceiver::Receive(int number, bool isXml,
                            const std::vector<CkaRBLDataContent::kaRBLRow>& rows) {
  Commands.clear();
  Output = {};
  IsGivenUp = false;
  const bool done = Generate(isXml, rows);
  if (IsGivenUp) return;
  const std::string head = "Meldung Nr. " + std::to_string(number) + " --- ";
  if (done) Output.Out += head + "Meldung OK \n";
  if (!done) Output.Err += head + "Die Meldung konnte nicht generiert werden!!!\n";
}

bool BlockReceiver::Generate(bool isXml, const std::vector<CkaRBLDataContent::kaRBLRow>& rows) {
  if (!isXml || rows.size() < builder_.RBLDataFormat.nminRows) return false;
  const std::size_t used = std::min<std::size_t>(rows.size(), builder_.RBLDataFormat.nmaxRows);
  Output.Out += "CheckDataValidity\n";
  for (std::size_t row = 0; row < used; ++row) {
    if (LacksValue(rows[row])) return false;
  }
  for (std::size_t row = 0; row < used && !IsGivenUp; ++row)
    Announce(rows[row], static_cast<int>(row));
  if (!IsGivenUp) Move(used);
  return true;
}

bool BlockReceiver::LacksValue(const CkaRBLDataContent::kaRBLRow& row) const {
  const auto& attributes = builder_.RBLDataFormat.Attributes;
  return std::any_of(attributes.begin(), attributes.end(), [&row](const auto& attribute) {
    return attribute.bRequired && ValueOf(row, attribute.Name).empty();
  });
}

void BlockReceiver::Announce(const CkaRBLDataContent::kaRBLRow& row, int number) {
  const CaseResults cases = EvaluateCases(builder_.CaseData.SortedCases, row);
  Output.Out += cases.Out;
  IsGivenUp = cases.IsOutside;
  for (std::size_t l = 0; l < builder_.SpeechFormat.LangRefs.size() && !IsGivenUp; ++l) {
    const auto announcement = Compose(builder_, row, number, l, cases, files_, Output);
    IsGivenUp = !announcement;
    if (announcement && announcement->Exists) Save(*announcement, number);
  }
}

void BlockReceiver::Save(const Announcement& announcement, int number) {
  const std::string path =
      builder_.StoreAnnounce + "/" + announcement.Language + std::to_string(number);
  const bool known = Store.contains(path);
  if (!known) Output.Err += "Backup-File nicht vorhanden\n";
  if (known && Store[path] == announcement.Text) return;
  Store[path] = announcement.Text;
  const std::string key = "savespeech" + builder_.engineName;
  const std::string& engine = builder_.kaConfig.ProfValues.front().value;
  Output.Out += "GetValueString: " + key + "=" + engine + "\n";
  Commands.push_back("cd " + ParentDirectory(engine) + "; " + engine + " \"" + path + "\" " + path +
                     ".wav");
}

void BlockReceiver::Move(std::size_t rows) {
  Commands.push_back("rm $(find " + builder_.PlayAnnounce + "/* -name \"*.wav\")");
  for (std::size_t row = 0; row < rows; ++row) {
    for (const auto& language : builder_.SpeechGen.Languages) {
      const std::string name = "/" + language.Name + std::to_string(row) + ".wav";
      const std::string stored = builder_.StoreAnnounce + name;
      if (!speechFiles_.contains(stored)) continue;
      std::string& command = Commands.emplace_back("cp ");
      command.append(stored).append(" ").append(builder_.PlayAnnounce).append(name);
    }
  }
}

}  // namespace model
