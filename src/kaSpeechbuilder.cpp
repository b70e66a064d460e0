#include "kaSpeechbuilder.h"

#include <algorithm>
#include <cstdio>

#include "kaCaseCheck.h"
#include "kaCompositionTrace.h"
#include "kaFile.h"
#include "kaLexicon.h"
#include "kaOnException.h"
#include "kaRBLDataContent.h"
#include "kaReadingMemory.h"
#include "kaShell.h"
#include "kaWait.h"

namespace {

constexpr const char* kConfigFile = "./kaconfig/kaTtsServer.kacfg";
constexpr const char* kDefaultPlayPrefix = " \\audio(play=";
constexpr const char* kDefaultPlaySuffix = ".wav) ";
constexpr int kLongestPlayback = 120;  // seconds

/// An empty directory stays empty instead of becoming the server's own.
std::string ResolveDirectory(const std::string& path) {
  return path.empty() ? "" : CkaFile().GetFileNameFromShellPath(path);
}

std::string OrDefault(const std::string& text, const char* fallback) {
  return text.empty() ? fallback : text;
}

bool SetMarker(const std::string& path, bool set) {
  constexpr const char* kContent = "blocked";
  if (set) return CkaFile().WriteToFile(path.c_str(), kContent, true);
  if (CkaFile().FileExists(path)) std::remove(path.c_str());
  return true;
}

/// Empty, "/" or "//": a search for old speech files from there would reach the whole machine.
bool IsWholeMachine(const std::string& directory) {
  return directory.find_first_not_of('/') == std::string::npos;
}

/// Has one reader read its section of the document. What was read is all that a running server
/// needs of the document, which takes many times the memory.
template <class Reader>
bool ReadSection(Reader& reader, const std::string& path, bool (Reader::*read)()) {
  const bool complete = reader.Initialize(path, false, false) && (reader.*read)();
  reader.ReleaseDocument();
  return complete;
}

/// The trace of the next phrase; null where no trace is kept.
kaPhraseTrace* AppendTo(kaCompositionTrace* trace) {
  if (trace == nullptr) return nullptr;
  kaPhraseTrace& phrase = trace->Phrases.emplace_back();
  phrase.Number = trace->Phrases.size() - 1;
  return &phrase;
}

/// Prints what a composition reported, also when it ends by an exception.
class PrintedReports {
 public:
  ~PrintedReports() { PrintReports(Reports); }
  std::vector<kaReport> Reports;
};

}  // namespace

CkaSpeechbuilder::CkaSpeechbuilder() : bIsInitialized(false) {
  _KA_THISCLASS_MSG_ID = 11000;
}

// ---- Set-up and blocking ----

bool CkaSpeechbuilder::Initialize(const std::string& path) {
  if (!kaConfig.Initialize(kConfigFile)) return false;
  ReadConfiguration();
  if (!ReadDocument(path)) return false;
  bIsInitialized = true;
  return true;
}

void CkaSpeechbuilder::ReadConfiguration() {
  SoundsPath = ResolveDirectory(kaConfig.GetValueString("nonvoicesounds"));
  SteadyPath = ResolveDirectory(kaConfig.GetValueString("steadyspeeches"));
  StoreAnnounce = ResolveDirectory(kaConfig.GetValueString("storetempram"));
  PlayAnnounce = ResolveDirectory(kaConfig.GetValueString("playtempram"));
  PlayPrefix = OrDefault(kaConfig.GetValueString("playprefix"), kDefaultPlayPrefix);
  PlaySuffix = OrDefault(kaConfig.GetValueString("playsuffix"), kDefaultPlaySuffix);
  engineName = kaConfig.GetValueString("engineName");
  SaveSpeechPath =
      CkaFile().GetFileNameFromShellPath(kaConfig.GetValueString("savespeech" + engineName));
  // Both markers live in the play directory: players outside the server look for them there.
  PlayBlock = PlayAnnounce + "/playblock";
  SaveBlock = PlayAnnounce + "/saveblock";
}

bool CkaSpeechbuilder::ReadDocument(const std::string& path) {
  const kaReadingMemory memory;
  const bool casesAreRead = ReadSection(SpeechFormat, path, &CkaSpeechFormat::ReadReferences) &&
                            ReadSection(RBLDataFormat, path, &CkaRBLDataFormat::ReadAssembly) &&
                            ReadSection(CaseData, path, &CkaCases::ReadCases);
  CaseIndex = kaCaseIndex(CaseData);
  return casesAreRead && ReadSection(SpeechGen, path, &CkaSpeechGen::ReadSpeechBuildSeq);
}

std::string CkaSpeechbuilder::GetPlayAnnounce() const {
  return PlayAnnounce;
}

std::string CkaSpeechbuilder::GetStoreAnnounce() const {
  return StoreAnnounce;
}

bool CkaSpeechbuilder::IsPlayBlocked() const {
  return CkaFile().FileExists(PlayBlock);
}

bool CkaSpeechbuilder::IsSaveBlocked() const {
  return CkaFile().FileExists(SaveBlock);
}

bool CkaSpeechbuilder::DoPlayBlock(bool block) const {
  return SetMarker(PlayBlock, block);
}

bool CkaSpeechbuilder::DoSaveBlock(bool block) const {
  return SetMarker(SaveBlock, block);
}

// ---- A received block ----

bool CkaSpeechbuilder::GenerateNewSpeeches(std::string& data) {
  CkaRBLDataContent content;
  int used = 0;
  if (ReadBlock(data, content, used) != kaBlockState::Complete) return false;
  // The rows are all that is needed while engine and shell are at work.
  content.ReleaseDocument();
  return CreateAnnouncements(content, used);
}

kaBlockState CkaSpeechbuilder::ReadBlock(const std::string& data, CkaRBLDataContent& content,
                                         int& rowCount) const {
  if (!content.Initialize(data, false, true)) return kaBlockState::NoXml;
  content.ReadContent();
  const auto rows = static_cast<unsigned int>(content.GetRowCount());
  rowCount = static_cast<int>(std::min(rows, RBLDataFormat.GetMaxRows()));
  if (rows < RBLDataFormat.GetMinRows()) return kaBlockState::TooFewRows;
  return CheckDataValidity(content, rowCount) ? kaBlockState::Complete : kaBlockState::ValueMissing;
}

bool CkaSpeechbuilder::CheckDataValidity(CkaRBLDataContent& content, int rowCount) const {
  PrintOut("CheckDataValidity\n");
  for (int row = 0; row < rowCount; ++row) {
    for (int i = 0; i < RBLDataFormat.GetAttributeCount(); ++i)
      if (IsValueMissing(content, row, i)) return false;
  }
  return true;
}

std::vector<kaMissingValue> CkaSpeechbuilder::FindMissingValues(const CkaRBLDataContent& content,
                                                                int rowCount) const {
  std::vector<kaMissingValue> missing;
  for (int row = 0; row < rowCount; ++row) {
    for (int i = 0; i < RBLDataFormat.GetAttributeCount(); ++i) {
      if (IsValueMissing(content, row, i)) {
        missing.push_back({row, RBLDataFormat.GetAttributeNameAt(i)});
      }
    }
  }
  return missing;
}

bool CkaSpeechbuilder::IsValueMissing(const CkaRBLDataContent& content, int row,
                                      int attribute) const {
  return RBLDataFormat.IsAttributeRequiredAt(attribute) &&
         content.GetValue(row, RBLDataFormat.GetAttributeNameAt(attribute)).empty();
}

bool CkaSpeechbuilder::CreateAnnouncements(CkaRBLDataContent& content, int rowCount) {
  // Counted here and indexed in the sequence: both sections list the languages in one order.
  const int languages = SpeechFormat.GetLanguageCount();
  for (int row = 0; row < rowCount; ++row) {
    CkaCaseCheck cases;
    cases.Initialize(&CaseData, &content, &CaseIndex);
    cases.CheckForRow(row);
    for (int lang = 0; lang < languages; ++lang) {
      kaAnnouncementText announcement;
      {
        PrintedReports printed;
        announcement = ComposeText(content, cases, row, lang, printed.Reports);
      }
      if (announcement.bExists) SaveSpeech(announcement.Language, row, announcement.Text);
    }
  }
  MoveSpeeches(rowCount);
  return true;
}

// ---- The text of an announcement ----

CkaSpeechbuilder::kaAnnouncementText CkaSpeechbuilder::ComposeText(
    const CkaRBLDataContent& content, const CkaCaseCheck& cases, int row, int lang,
    std::vector<kaReport>& reports, kaCompositionTrace* trace) const {
  const kaOutputCapture capture(reports);
  kaAnnouncementText announcement;
  // A truth value serves as list index: announcement documents put the full form first and the
  // short form second. The index is thus never negative, and the row never takes its place.
  int index = SpeechGen.GetAnnouncementIndex(lang, row) ? 1 : 0;
  if (index < 0) index = row;
  PrintOut("select lang " + std::to_string(index) + "\n");
  announcement.bExists = SpeechGen.DoesAnnouncementExists(lang, index);
  if (trace != nullptr) *trace = {index, announcement.bExists, "", {}};
  if (!announcement.bExists) return announcement;

  announcement.Language = SpeechGen.GetLanguageName(lang);
  announcement.Text = SpeechGen.GetGeneralPrefix(lang) + " ";
  if (trace != nullptr) trace->GeneralPrefix = SpeechGen.GetGeneralPrefix(lang);
  for (const auto& phrase : SpeechGen.AnnouncementAt(lang, index).Phrases) {
    kaPhraseTrace* phraseTrace = AppendTo(trace);
    if (!phrase.Condition.empty() && !cases.IsCaseTrue(phrase.Condition)) continue;
    AppendPhrase(announcement, phrase, content, row, phraseTrace);
  }
  return announcement;
}

void CkaSpeechbuilder::AppendPhrase(kaAnnouncementText& announcement,
                                    const CkaSpeechGen::kaTTSPhrase& phrase,
                                    const CkaRBLDataContent& content, int row,
                                    kaPhraseTrace* trace) const {
  const std::string& lang = announcement.Language;
  std::string& text = announcement.Text;
  const std::size_t before = text.size();
  const int trait = SpeechFormat.GetElementTrait(lang, phrase.RefId);
  switch (trait) {
    case CkaSpeechFormat::_KASsound:
      text += PlayPrefix + SoundsPath + "/" + phrase.RefId + PlaySuffix;
      break;
    case CkaSpeechFormat::_KASsteady:
      text += PlayPrefix + SteadyPath + "/" + lang + "/" + phrase.RefId + PlaySuffix;
      PrintOut("prepare steady: " + text + "\n");
      break;
    case CkaSpeechFormat::_KAStemp: {
      const std::string attribute = GetRBLAttNameFromSpeechId(phrase.RefId);
      if (trace != nullptr) trace->Attribute = attribute;
      text += phrase.Prefix;
      text += SpeakValue(phrase, content.GetValue(row, attribute), lang, trace);
      text += phrase.Suffix;
      break;
    }
    default:
      break;
  }
  if (trace == nullptr) return;
  trace->bSpoken = true;
  trace->Trait = trait;
  trace->Piece = text.substr(before);
}

std::string CkaSpeechbuilder::SpeakValue(const CkaSpeechGen::kaTTSPhrase& phrase,
                                         const std::string& value, const std::string& lang,
                                         kaPhraseTrace* trace) const {
  if (trace != nullptr) trace->Value = value;
  // Documents switch a lexicon off by a name of one character.
  const bool hasLexicon = phrase.Lexicon.size() > 1;
  return hasLexicon ? UseLexicon(value, "./lexidata/" + lang + "/" + phrase.Lexicon, trace) : value;
}

std::string CkaSpeechbuilder::GetRBLAttNameFromSpeechId(const std::string& id) const {
  const int index = RBLDataFormat.FindAssignedAttribute(id);
  return index < 0 ? "" : RBLDataFormat.GetAttributeNameAt(index);
}

std::string CkaSpeechbuilder::UseLexicon(const std::string& text, const std::string& lexiconPath,
                                         kaPhraseTrace* trace) const {
  const std::string path = CkaFile().GetFileNameFromShellPath(lexiconPath);
  const kaLexicon* lexicon = Lexica.Load(path);
  if (trace != nullptr) {
    trace->LexiconPath = path;
    trace->bLexiconLoaded = lexicon != nullptr;
  }
  if (lexicon == nullptr) return text;
  kaMaskedText masked = MakeFreeText(text);
  lexicon->ApplyTo(masked, trace == nullptr ? nullptr : &trace->Replacements);
  PrintOut(masked.Mask + masked.Text + "\n");
  return masked.Text;
}

// ---- Speech files ----

bool CkaSpeechbuilder::SaveSpeech(const std::string& lang, int n, const std::string& text) const {
  const std::string backup = CreateBackupFileName(lang, n);
  std::string old;
  if (CkaFile().FileExists(backup)) {
    old = CkaFile().GetFileAsString(backup);
  } else {
    PrintErr("Backup-File nicht vorhanden\n");
  }
  if (old == text) return true;
  // Should the text not be kept, the engine says so itself when it finds no file.
  CkaFile().WriteToFile(backup.c_str(), text, true);
  RunShellCommand(MakeSaveCommand(backup, CreateStoreWavFileName(lang, n)));
  return true;
}

void CkaSpeechbuilder::SaveSpeech(const std::string& textFile, const std::string& wavFile) const {
  const std::string command = MakeSaveCommand(textFile, wavFile);
  PrintOut("SaveSpeech CMD: " + command + "\n");
  RunShellCommand(command);
}

std::string CkaSpeechbuilder::MakeSaveCommand(const std::string& textFile,
                                              const std::string& wavFile) const {
  const std::string engine = kaConfig.GetValueString("savespeech" + engineName);
  return "cd " + CkaFile().GetParentDir(engine, false) + "; " + engine + " \"" + textFile + "\" " +
         wavFile;
}

std::string CkaSpeechbuilder::CreateBackupFileName(const std::string& lang, int n) const {
  return StoreAnnounce + "/" + lang + std::to_string(n);
}

std::string CkaSpeechbuilder::CreateStoreWavFileName(const std::string& lang, int n) const {
  return CreateBackupFileName(lang, n) + ".wav";
}

std::string CkaSpeechbuilder::CreatePlayWavFileName(const std::string& lang, int n) const {
  return PlayAnnounce + "/" + lang + std::to_string(n) + ".wav";
}

bool CkaSpeechbuilder::MoveSpeeches(int rowCount) const {
  if (WaitWhileBlocked(kLongestPlayback, [this] { return IsPlayBlocked(); })) {
    PrintErr("Zu langer Abspielzeitraum. Überspielen wurde abgebrochen!!\n");
    return false;
  }
  DoSaveBlock(true);
  const kaOnException unmarked([this] { std::remove(SaveBlock.c_str()); });
  DeletePlayedSpeeches();
  CopyStoredSpeeches(rowCount);
  DoSaveBlock(false);
  return true;
}

void CkaSpeechbuilder::DeletePlayedSpeeches() const {
  if (IsWholeMachine(PlayAnnounce)) return;
  RunShellCommand("rm $(find " + PlayAnnounce + "/* -name \"*.wav\")");
}

void CkaSpeechbuilder::CopyStoredSpeeches(int rowCount) const {
  for (int row = 0; row < rowCount; ++row) {
    for (int l = 0; l < SpeechGen.GetLanguageCount(); ++l) {
      const std::string lang = SpeechGen.GetLanguageName(l);
      const std::string stored = CreateStoreWavFileName(lang, row);
      if (!CkaFile().FileExists(stored)) continue;
      RunShellCommand("cp " + stored + " " + CreatePlayWavFileName(lang, row));
    }
  }
}
