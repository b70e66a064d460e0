#include "kaTTSServer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string_view>
#include <unordered_set>

#include "ka-tts-server.h"
#include "kaCacheManager.h"
#include "kaFile.h"
#include "kaLexicon.h"
#include "kaOnException.h"
#include "kaOutput.h"
#include "kaShared.h"
#include "kaShell.h"
#include "kaWait.h"

CkaTTSServer* AppRef = nullptr;
CkaCacheManager* CacheManager = nullptr;
std::int32_t MessageCounter = 0;

namespace {

constexpr const char* kConfigFile = "./kaconfig/kaTtsServer.kacfg";
constexpr std::string_view kUrgent = "!u";
constexpr const char* kEndOfText = "///";
constexpr const char* kLexiconDirectory = "./lexidata/";
constexpr const char* kDefaultReference = "default";
constexpr int kLongestRotation = 3;  // seconds

/// Ends every player on the machine, whoever started it.
void KillPlayers() {
  RunShellCommand("killall -9 aplay");
  RunShellCommand("killall -9 play");
}

/// `text` up to the first `delim`, whole if there is none.
std::string Before(const std::string& text, const std::string& delim) {
  return text.substr(0, text.find(delim));
}

/// A data block up to the end of its last tag: what senders add behind it (line ends, filler bytes)
/// is dropped. Without a tag the text stays whole.
std::string CutAfterLastTag(const std::string& text) {
  const std::size_t lastTag = text.find_last_of("</");
  const std::size_t end = lastTag == std::string::npos ? lastTag : text.find('>', lastTag);
  return end == std::string::npos ? text : text.substr(0, end + 1);
}

/// Counts a received block. Goes round without ever overflowing.
std::uint32_t CountMessage() {
  const std::uint32_t number = static_cast<std::uint32_t>(LoadShared(MessageCounter)) + 1;
  StoreShared(MessageCounter, static_cast<std::int32_t>(number));
  return number;
}

/// Gives the device back if it is still taken for `use`.
void GiveBack(std::int32_t& priority, std::int32_t use) {
  if (LoadShared(priority) == use) StoreShared<std::int32_t>(priority, CkaTTSServer::kIdle);
}

void StartCacheTimer() {
  CkaCacheManager* manager = LoadShared(CacheManager);
  if (manager == nullptr) return;
  if (manager->startCacheTimer() != 0) PrintErr("Error setting timer\n");
}

}  // namespace

// ---- Start-up ----

CkaTTSServer::CkaTTSServer() : bIsInitialized(false), ServerState(0), Priority(kIdle) {
  AppRef = this;
  _KA_THISCLASS_MSG_ID = 7000;
  AutoInit();
  // False also after success: the program entry takes true for a failure, and the server is to run
  // with whatever could be opened.
  bIsInitialized = false;
}

CkaTTSServer::~CkaTTSServer() {
  delete LoadShared(CacheManager);
  StoreShared<CkaCacheManager*>(CacheManager, nullptr);
}

bool CkaTTSServer::IsInitialized() const {
  return bIsInitialized;
}

bool CkaTTSServer::AutoInit() {
  if (!kaConfig.Initialize(kConfigFile)) {
    PrintErr("Failed to load config file. \n");
    return false;
  }
  if (LoadMessageData()) {
    SendStdMsg(0);
  } else {
    PrintErr(
        "ka-TTS-Server error: Fehler beim Laden der Sprachdaten! Eventuell werden "
        "Programmmeldungen falsch oder gar nicht angezeigt. \n\n");
  }
  BellFile = CkaFile().GetFileNameFromShellPath(kaConfig.GetValueString("nonvoicesounds")) + "/";
  BellFile += kaConfig.GetValueString("bellfile");
  if (!SpeechBuilder.Initialize(kaConfig.GetValueString("speechformat"))) return false;
  if (!OpenListeners()) return false;
  StartCacheManager();
  StoreShared<std::int32_t>(Priority, kIdle);
  bIsInitialized = true;
  StoreShared<std::int32_t>(MessageCounter, 0);
  return true;
}

bool CkaTTSServer::LoadMessageData() {
  const std::string directory = std::string(GlobalCWD) + "/messages/";
  ErrMsg.SetPrefix("ka-TTS-Server error: ");
  const std::array errors = {ErrMsg.AddLanguageItem(directory + "errDE.csv"),
                             ErrMsg.AddLanguageItem(directory + "errEN.csv")};
  StdMsg.SetPrefix("ka-TTS-Server: ");
  const std::array texts = {StdMsg.AddLanguageItem(directory + "stdDE.csv"),
                            StdMsg.AddLanguageItem(directory + "stdEN.csv")};
  // A catalogue that cannot be read counts -1 and passes: a station without it still speaks.
  return std::count(errors.begin(), errors.end(), 0) + std::count(texts.begin(), texts.end(), 0) ==
         0;
}

bool CkaTTSServer::OpenListeners() {
  if (OpenListener(RegularInput, "reginputport", CallBackOnClientSentInput) &&
      OpenListener(RBLInput, "rblinputport", CallBackOnReceiveRBLData) &&
      OpenListener(CMDInput, "cmdinputport", CallBackOnReceiveCommand)) {
    return true;
  }
  PrintErr("Could not open TCP/IP-Socket for TTSServer \n");
  return false;
}

bool CkaTTSServer::OpenListener(CkaTCPIPGet& listener, const char* portKey, kaCallBack callback) {
  // A port that is refused leaves the listener on its default port.
  listener.SetPortNum(static_cast<unsigned int>(kaConfig.GetValueInt(portKey)));
  return listener.OpenServerThread(callback, this);
}

void CkaTTSServer::StartCacheManager() {
  auto manager = std::make_unique<CkaCacheManager>(SpeechBuilder.GetPlayAnnounce(),
                                                   SpeechBuilder.GetStoreAnnounce());
  CkaCacheManager* cache = manager.release();
  StoreShared(CacheManager, cache);
  cache->setTimeout(kaConfig.GetValueInt("TimeoutCache"));
  if (cache->clearCache() > 0) PrintErr("Error while clearing audio file cache. \n");
}

void CkaTTSServer::CleanUp() {
  RegularInput.CloseServerThread();
}

// ---- Texts ----

bool CallBackOnClientSentInput(int /*buflen*/, void* buffer, void* pThis) {
  auto& server = *static_cast<CkaTTSServer*>(pThis);
  std::string text = static_cast<const char*>(buffer);
  if (text.starts_with(kUrgent)) {
    KillPlayers();
    StoreShared<std::int32_t>(server.Priority, CkaTTSServer::kUrgent);
    text.erase(0, kUrgent.size());
  } else if (LoadShared(server.Priority) == CkaTTSServer::kPlaying) {
    return true;
  }
  // Urgent or not, from here on a text is being spoken; nobody sees the urgent value for long.
  StoreShared<std::int32_t>(server.Priority, CkaTTSServer::kSpeaking);
  const kaOnException unspoken([&server] { GiveBack(server.Priority, CkaTTSServer::kSpeaking); });
  text = server.CutDelim(text, kEndOfText);
  if (!text.empty()) server.SpeakOut(text);
  const std::int32_t priority = LoadShared(server.Priority);
  // A playback that took the device meanwhile keeps it.
  if (priority == CkaTTSServer::kSpeaking || priority == CkaTTSServer::kUrgent) {
    StoreShared<std::int32_t>(server.Priority, CkaTTSServer::kIdle);
  }
  return true;
}

bool CkaTTSServer::SpeakOut(const std::string& text) {
  PrintOut("\n################### speakout #####################\n");
  const std::string rootDir = kaConfig.GetValueString("rootDir");
  const std::string engine = kaConfig.GetValueString("engineName");
  const std::string speakOut = kaConfig.GetValueString("speakout" + engine);
  // The text stands in the shell's double quotes as it is: clients escape what they need escaped.
  const std::string command = "cd " + rootDir + engine + "; " + speakOut + " \"" + text + "\"";
  PrintOut("\nspeakout: " + text);
  PrintOut("\ncmd: " + command + "\n");
  RunShellCommand(command);
  return true;
}

bool CkaTTSServer::SpeakOut(char* text) {
  PrintOut("\n################### speakout buff#####################\n");
  return SpeakOut(std::string(text));
}

std::string CkaTTSServer::CutDelim(const std::string& text, const std::string& delim) const {
  return Before(text, delim);
}

// ---- Data blocks ----

std::string UsedPartOfBlock(const std::string& message) {
  return Before(CutAfterLastTag(message), kEndOfText);
}

bool CallBackOnReceiveRBLData(int /*buflen*/, void* buffer, void* pThis) {
  auto& server = *static_cast<CkaTTSServer*>(pThis);
  const std::string number = std::to_string(CountMessage());
  std::string data = UsedPartOfBlock(static_cast<const char*>(buffer));
  if (server.SpeechBuilder.GenerateNewSpeeches(data)) {
    PrintOut("Meldung Nr. " + number + " --- Meldung OK \n");
    StartCacheTimer();
  } else {
    PrintErr("Meldung Nr. " + number + " --- Die Meldung konnte nicht generiert werden!!!\n");
  }
  return true;
}

// ---- Play lists ----

bool CkaTTSServer::Play(const std::string& list) {
  if (LoadShared(Priority) != kIdle) return true;
  StoreShared<std::int32_t>(Priority, kPlaying);
  const kaOnException unplayed([this] { GiveBack(Priority, kPlaying); });
  if (WaitWhileBlocked(kLongestRotation, [this] { return SpeechBuilder.IsSaveBlocked(); })) {
    PrintErr("Zu langer Überspielzeitraum. Abspielen wurde abgebrochen!!\n");
    // The device stays taken: stations clear a stuck rotation with an urgent text.
    return false;
  }
  SpeechBuilder.DoPlayBlock(true);
  const kaOnException unmarked([this] { std::remove(SpeechBuilder.PlayBlock.c_str()); });
  for (const std::string& name : GetPlayList(list)) {
    // An urgent text took the device. The play marker stays, so that no rotation comes between.
    if (LoadShared(Priority) != kPlaying) return true;
    PlayIfPresent(name);
  }
  GiveBack(Priority, kPlaying);
  SpeechBuilder.DoPlayBlock(false);
  return true;
}

std::vector<std::string> CkaTTSServer::GetPlayList(std::string list) const {
  std::erase(list, ' ');
  std::vector<std::string> names;
  while (!list.empty()) {
    const std::size_t comma = list.find(',');
    names.push_back(list.substr(0, comma));
    list.erase(0, comma == std::string::npos ? comma : comma + 1);
  }
  return names;
}

void CkaTTSServer::PlayIfPresent(const std::string& name) const {
  const std::string path = SpeechBuilder.GetPlayAnnounce() + "/" + name + ".wav";
  if (!CkaFile().FileExists(path)) return;
  const std::string command = "aplay " + path;
  PrintOut(command + "\n");
  RunShellCommand(command);
}

// ---- Commands ----

bool CallBackOnReceiveCommand(int /*buflen*/, void* buffer, void* pThis) {
  auto& server = *static_cast<CkaTTSServer*>(pThis);
  const std::string text = static_cast<const char*>(buffer);
  const int code = server.CheckCommands(text);
  if (code != CkaTTSServer::_TTSCMD_NO) return server.HandleCommand(code);
  server.Play(server.CutDelim(text, kEndOfText));
  return true;
}

int CkaTTSServer::CheckCommands(const std::string& text) const {
  struct Command {
    std::string_view Text;
    int Code;
  };
  // Each is a prefix: control panels send more behind it.
  constexpr std::array kCommands = {
      Command{"!restart", _TTSCMD_RESTART_SERVER}, Command{"!terminate", _TTSCMD_STOP_SERVER},
      Command{"!reboot-stamp", _TTSCMD_RESTART_DEVICE}, Command{"!bell", _TTSCMD_BELL},
      Command{"!stop", _TTSCMD_STOP_PLAYING}};
  const auto* command = std::find_if(kCommands.begin(), kCommands.end(), [&text](const Command& c) {
    return text.starts_with(c.Text);
  });
  const int code = command == kCommands.end() ? static_cast<int>(_TTSCMD_NO) : command->Code;
  PrintOut("new cmd: " + text + " " + std::to_string(code) + "\n");
  return code;
}

bool CkaTTSServer::HandleCommand(int code) {
  switch (code) {
    case _TTSCMD_RESTART_SERVER:
      StoreShared(ServerRestart, true);
      StoreShared(ServerOperate, false);
      break;
    case _TTSCMD_STOP_SERVER:
      StoreShared(ServerRestart, false);
      StoreShared(ServerOperate, false);
      break;
    case _TTSCMD_RESTART_DEVICE:
      // No stamp is written anywhere; control panels know the command by this name.
      RunShellCommand("reboot");
      break;
    case _TTSCMD_BELL: {
      const std::string command = "aplay \"" + BellFile + "\"";
      PrintOut("execute bell " + command + "\n");
      RunShellCommand(command);
      break;
    }
    case _TTSCMD_STOP_PLAYING:
      KillPlayers();
      break;
    default:
      break;
  }
  return true;
}

// ---- Lexicon references ----

CkaTTSServer::kaMarkupTable CkaTTSServer::BuildMarkupTable() const {
  kaMarkupTable table;
  std::unordered_set<std::string> names;
  for (const CkaProfile::ProfileEntry& entry : kaConfig.ProfValues) {
    if (!names.insert(entry.var).second) continue;
    table.push_back(entry);
    PrintOut("Markup: " + entry.var + "," + entry.value + "\n");
  }
  return table;
}

std::string CkaTTSServer::ApplyLexRef(const std::string& text) const {
  const kaMarkupTable table = BuildMarkupTable();
  const std::vector<kaMark> marks = FindMarks(text, table);

  const auto defaultEntry = std::find_if(
      table.begin(), table.end(), [](const auto& entry) { return entry.var == kDefaultReference; });
  std::string out = text.substr(0, marks.empty() ? text.size() : marks.front().Position);
  if (defaultEntry != table.end()) out = UseMultiLexicon(out, defaultEntry->value);
  for (auto mark = marks.begin(); mark != marks.end(); ++mark) {
    const std::size_t end = mark + 1 == marks.end() ? text.size() : (mark + 1)->Position;
    out += UseMultiLexicon(text.substr(mark->Position, end - mark->Position), mark->Name);
  }
  PrintOut("out : " + out + "\n");
  return out;
}

std::vector<CkaTTSServer::kaMark> CkaTTSServer::FindMarks(const std::string& text,
                                                          const kaMarkupTable& table) const {
  std::vector<kaMark> marks;
  // Where each markup comes next. A markup is looked for again only when the search has passed it:
  // a text may have thousands of marks, and most markups do not occur in it at all.
  std::vector<std::size_t> next(table.size());
  std::transform(table.begin(), table.end(), next.begin(), [&text](const auto& entry) {
    return entry.var == kDefaultReference ? std::string::npos : text.find(entry.value);
  });
  while (true) {
    const auto first = std::min_element(next.begin(), next.end());
    if (first == next.end() || *first == std::string::npos) break;
    const std::string& name = table[static_cast<std::size_t>(first - next.begin())].var;
    marks.push_back({*first, name});
    // On by the length of the name, not of its markup: profiles in use are laid out for it. By one
    // character at least, so that a name of one character comes to an end.
    const std::size_t from = *first + std::max<std::size_t>(name.size(), 2) - 1;
    for (std::size_t i = 0; i < table.size(); ++i) {
      if (next[i] < from) next[i] = text.find(table[i].value, from);
    }
  }
  PrintOut("Marks:\n");
  for (const kaMark& mark : marks) {
    PrintOut(std::to_string(mark.Position) + "," + mark.Name + "\n");
  }
  PrintOut("EndOfMarks\n");
  return marks;
}

std::string CkaTTSServer::UseMultiLexicon(const std::string& text,
                                          const std::string& refName) const {
  const std::vector<std::string> references = GetReferenceList(refName);
  kaMaskedText masked = MakeFreeText(text);
  if (!references.empty()) {
    const std::string& markup = references.front();
    PrintOut("FundMarkup:" + markup + "\n");
    if (text.starts_with(markup)) masked.Mask.replace(0, markup.size(), markup.size(), '*');
  }
  PrintOut("FundMarkup done:\n");
  for (std::size_t i = 1; i < references.size(); ++i) {
    PrintOut("lex1\n");
    CkaProfile lexicon;
    if (!lexicon.Initialize(CkaFile().GetFileNameFromShellPath(references[i]))) return masked.Text;
    ApplyLexicon(masked, lexicon);
  }
  PrintOut(masked.Mask + "\n" + masked.Text + "\n\n");
  return masked.Text;
}

std::vector<std::string> CkaTTSServer::GetReferenceList(const std::string& refName) const {
  std::vector<std::string> references;
  for (const CkaProfile::ProfileEntry& entry : kaConfig.ProfValues) {
    if (entry.var != refName) continue;
    references.push_back((references.empty() ? "" : kLexiconDirectory) + entry.value);
  }
  return references;
}
