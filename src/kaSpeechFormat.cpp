#include "kaSpeechFormat.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include "kaDescriptor.h"
#include "kaFile.h"
#include "kaOutput.h"
#include "kaTTSServer.h"

namespace {

constexpr const char* kSharedLanguage = "all";
constexpr std::size_t kShortestSex = 4;
constexpr std::size_t kShortestVoiceName = 2;

/// Written in small letters only, unlike the preferred sex of an announcement's language.
int SexFromWord(const std::string& word) {
  if (word == "male") return 1;
  if (word == "female") return 2;
  return 0;
}

/// -1 for a word that is no trait.
int TraitFromWord(const std::string& word) {
  if (word == "steady") return CkaSpeechFormat::_KASsteady;
  if (word == "sound") return CkaSpeechFormat::_KASsound;
  if (word == "temp") return CkaSpeechFormat::_KAStemp;
  return -1;
}

/// Directory of the prepared speeches, "" when none is configured.
std::string SteadyDirectory() {
  const std::string configured = AppRef->kaConfig.GetValueString("steadyspeeches");
  return configured.empty() ? "" : CkaFile().GetFileNameFromShellPath(configured);
}

/// Brings the prepared speech at `basePath` (without file ending) up to date: its text file when
/// the text has changed, its speech file when that is missing or older than the text.
void UpdateSteadySpeech(const std::string& basePath, const std::string& text) {
  const std::string textFile = basePath + ".txt";
  const std::string wavFile = basePath + ".wav";
  bool exists = existsf(textFile);
  bool changed = false;
  if (!text.empty()) {
    changed = !exists || readf(textFile) != text;
    if (changed) exists = writef(textFile, text);
    PrintOut("found: " + textFile + ":  " + (exists ? readf(textFile) : "") + "\n");
  }
  if (exists && (changed || !existsf(wavFile))) {
    PrintOut("steady build ####################\n");
    AppRef->SpeechBuilder.SaveSpeech(textFile, wavFile);
  }
}

}  // namespace

CkaSpeechFormat::CkaSpeechFormat() : pRootNode(nullptr), pRefNode(nullptr), pAssemNode(nullptr) {
  _KA_THISCLASS_MSG_ID = 10100;
}

bool CkaSpeechFormat::ReadReferences() {
  SetMainNodes();
  const bool complete = GetLanguageRef();
  IndexElements();
  return complete;
}

int CkaSpeechFormat::GetLanguageCount() const {
  return static_cast<int>(LangRefs.size());
}

std::string CkaSpeechFormat::GetFirstVoice(const std::string& lang) const {
  const auto ref = std::find_if(LangRefs.rbegin(), LangRefs.rend(),
                                [&lang](const KaLangRef& r) { return r.LangName == lang; });
  return ref == LangRefs.rend() || ref->Voices.empty() ? "" : ref->Voices.front().Name;
}

int CkaSpeechFormat::GetElementTrait(const std::string& lang, const std::string& id) const {
  const auto traits = TraitsByLanguage.find(lang);
  if (traits == TraitsByLanguage.end()) return _KASerror;
  const auto trait = traits->second.find(id);
  return trait == traits->second.end() ? static_cast<int>(_KASerror) : trait->second;
}

bool CkaSpeechFormat::LexiconExists(const std::string& /*name*/) const {
  return false;
}

std::vector<KaLangRef> CkaSpeechFormat::GetLanguages() const {
  return LangRefs;
}

void CkaSpeechFormat::SetMainNodes() {
  pRefNode = pAssemNode = nullptr;
  pRootNode = GetRootNode();
  pRefNode = GetRequiredChild(pRootNode, "References");
  pAssemNode = GetRequiredChild(pRootNode, "Assembly");
}

bool CkaSpeechFormat::GetLanguageRef() {
  const xmlpp::NodeSet nodes = FindNodes(pRefNode, "Language");
  if (nodes.empty()) return false;

  xmlpp::Node* allNode = nullptr;
  for (xmlpp::Node* node : nodes) {
    const std::string name = GetAttributeValue(node, "name");
    if (name == kSharedLanguage) {
      allNode = node;
      continue;
    }
    LangRefs.emplace_back().LangName = name;
    if (!ReadOwnData(node, LangRefs.back())) return false;
  }
  return allNode == nullptr || ReadSharedData(allNode);
}

bool CkaSpeechFormat::ReadOwnData(xmlpp::Node* node, KaLangRef& ref) {
  return GetVoiceData(node, ref) && GetLexiconData(node, ref) && GetElementData(node, ref);
}

bool CkaSpeechFormat::ReadSharedData(xmlpp::Node* allNode) {
  return std::all_of(LangRefs.begin(), LangRefs.end(), [this, allNode](KaLangRef& ref) {
    return GetLexiconData(allNode, ref) && GetElementData(allNode, ref);
  });
}

bool CkaSpeechFormat::GetVoiceData(xmlpp::Node* node, KaLangRef& ref) {
  const xmlpp::NodeSet voices = FindNodes(node, "Voice");
  for (xmlpp::Node* voice : voices) {
    const std::string name = GetTextValue(voice);
    const std::string sex = GetAttributeValue(voice, "sex");
    if (sex.size() < kShortestSex || name.size() < kShortestVoiceName) return false;
    ref.Voices.push_back({name, SexFromWord(sex)});
  }
  return !voices.empty();
}

bool CkaSpeechFormat::GetLexiconData(xmlpp::Node* node, KaLangRef& ref) {
  for (xmlpp::Node* lexicon : FindNodes(node, "Lexicon")) {
    ref.Lexica.push_back(GetAttributeValue(lexicon, "name"));
  }
  return true;
}

bool CkaSpeechFormat::GetElementData(xmlpp::Node* node, KaLangRef& ref) {
  const xmlpp::NodeSet elements = FindNodes(node, "Element");
  if (elements.empty()) return true;

  const bool keepsFiles = AppRef != nullptr;
  const std::string languageDir = keepsFiles ? SteadyDirectory() + "/" + ref.LangName + "/" : "";
  for (xmlpp::Node* element : elements) {
    const std::string id = GetAttributeValue(element, "id");
    const int trait = TraitFromWord(GetAttributeValue(element, "trait"));
    if (trait < 0) return false;
    if (trait == _KASsteady && keepsFiles) {
      UpdateSteadySpeech(languageDir + id, GetAttributeValue(element, "text"));
    }
    ref.Elements.push_back({id, trait});
  }
  return true;
}

void CkaSpeechFormat::IndexElements() {
  TraitsByLanguage.clear();
  for (const KaLangRef& ref : LangRefs) {
    auto& traits = TraitsByLanguage[ref.LangName];
    traits.clear();  // the last language of a name stands alone
    for (const kaTTSElement& element : ref.Elements)
      traits[element.id] = element.trait;
  }
}

bool existsf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0;
}

std::string readf(const std::string& path) {
  return ReadAll(OpenFile(path.c_str(), O_RDONLY).Get());
}

bool writef(const std::string& path, const std::string& text) {
  return CkaFile().WriteToFile(path.c_str(), text, true);
}
