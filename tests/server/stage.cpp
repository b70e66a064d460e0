#include "stage.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace servertest {

namespace {

namespace fs = std::filesystem;

// Two languages, one value. A row is announced with "Zug", every further one with "dann".
constexpr std::string_view kDocument = R"(<?xml version="1.0" encoding="UTF-8"?>
<Station>
  <References>
    <Language name="de">
      <Voice sex="female">de</Voice>
      <Element id="Zug" trait="temp"/>
    </Language>
    <Language name="en">
      <Voice sex="male">en-gb</Voice>
      <Element id="Zug" trait="temp"/>
    </Language>
  </References>
  <Assembly>
    <Language name="de" generalprefix="DE">
      <Announcement position="0">
        <Speech id="Zug" prefix="Zug "/>
      </Announcement>
      <Announcement position="1">
        <Speech id="Zug" prefix="dann "/>
      </Announcement>
    </Language>
    <Language name="en" generalprefix="EN">
      <Announcement position="0">
        <Speech id="Zug" prefix="train "/>
      </Announcement>
      <Announcement position="1">
        <Speech id="Zug" prefix="then "/>
      </Announcement>
    </Language>
    <RBLFormat minrows="1" maxrows="3">
      <Attribute name="zug" assignto="Zug" musthavevalue="yes"/>
    </RBLFormat>
    <Case id="Express" substr="zug" type="string" operator="eq" begin="0" end="2" value="ICE"/>
  </Assembly>
</Station>
)";

// The engine's two commands. Speaking is recorded only; saving leaves a file from which the text
// can be told.
constexpr const char* kSaveAction =
    "{ printf 'speech of: '; /bin/cat \"$1\"; } >\"$2.part\" && /bin/mv \"$2.part\" \"$2\"";

void KillProcessesOf(const std::string& executable) {
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::error_code gone;
    const std::string target = fs::read_symlink(entry.path() / "exe", gone).string();
    if (!gone && target == executable) kill(std::stoi(name), SIGKILL);
  }
}

}  // namespace

std::string Replaced(std::string text, std::string_view mark, std::string_view value) {
  for (std::size_t at = text.find(mark); at != std::string::npos;
       at = text.find(mark, at + value.size())) {
    text.replace(at, mark.size(), value);
  }
  return text;
}

std::string StubSpeech(const std::string& text) {
  return "speech of: " + text;
}

void LinkOrCopy(const std::string& from, const std::string& to) {
  std::error_code otherFileSystem;
  fs::create_hard_link(from, to, otherFileSystem);
  if (otherFileSystem) fs::copy_file(from, to);
}

Stage::Stage() : dir_(root_.Sub("server")), stubs_(root_.Sub("bin")) {
  // Servers that run as another user must get in.
  fs::permissions(root_.Path(), fs::perms(0755));
  MakeDirectories();
  LinkOrCopy(KA_SERVER_PATH, Executable());
  WriteCatalogues();
  WriteDocument(std::string(kDocument));
  MakeStubs();
  configuration_ = {{"rootDir", dir_ + "/engines/"},
                    {"engineName", "stub"},
                    {"speakoutstub", "./speak"},
                    {"savespeechstub", EngineDir() + "/save"},
                    {"nonvoicesounds", Sounds()},
                    {"bellfile", "bell.wav"},
                    {"steadyspeeches", Steady()},
                    {"storetempram", Store()},
                    {"playtempram", Play()},
                    {"speechformat", "./station.xml"},
                    {"reginputport", std::to_string(TextPort())},
                    {"rblinputport", std::to_string(DataPort())},
                    {"cmdinputport", std::to_string(CommandPort())},
                    {"TimeoutCache", "0"}};
}

// A server that a restart script started may have left the test's process group.
Stage::~Stage() {
  KillProcessesOf(Executable());
}

void Stage::MakeDirectories() const {
  for (const std::string& path : {Store(), Play(), Steady() + "/de", Steady() + "/en", WorkDir()}) {
    fs::create_directories(path);
  }
}

void Stage::WriteCatalogues() const {
  Write("messages/stdDE.csv",
        "1000          Dienst bereit.\n"
        "1000          Dienst endet.\n"
        "7000          Meldungen geladen.\n");
  Write("messages/stdEN.csv",
        "1000          Service ready.\n"
        "1000          Service ends.\n"
        "7000          Messages loaded.\n");
  Write("messages/errDE.csv", "1000          Start misslungen.\n");
  Write("messages/errEN.csv", "1000          Start failed.\n");
}

void Stage::MakeStubs() {
  stubs_.AddReal("sh");
  stubs_.Add("play");
  stubs_.Add("aplay");
  stubs_.Add("reboot");
  // What is held as a player ends as a killed one would.
  stubs_.Add("killall", stubs_.ReleasingAction("aplay"));
  stubs_.Add("cp", "exec /bin/cp \"$@\"");
  stubs_.Add("find", "exec /usr/bin/find \"$@\"");
  // Without arguments the real one would complain in the words of its version.
  stubs_.Add("rm", "[ $# -eq 0 ] || exec /bin/rm \"$@\"");
  stubs_.AddAt(EngineDir() + "/speak", "speak");
  stubs_.AddAt(EngineDir() + "/save", "save", kSaveAction);
}

void Stage::Write(const std::string& name, const std::string& content) const {
  const fs::path path = fs::path(dir_) / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

void Stage::Remove(const std::string& name) const {
  fs::remove_all(dir_ + "/" + name);
}

void Stage::WriteConfiguration() const {
  if (!writesConfiguration_) return;
  std::string text;
  for (const auto& [key, value] : configuration_)
    text.append(key).append("=\"").append(value).append("\"\n");
  Write("kaconfig/kaTtsServer.kacfg", text);
}

}  // namespace servertest
