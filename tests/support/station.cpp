#include "support/station.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "support/capture_output.h"
#include "support/loopback.h"

namespace support {

namespace {

std::string ReferenceOf(const std::string& language) {
  return "<Language name=\"" + language + R"xml(">
      <Voice sex="female">anna</Voice>
      <Element id="gong" trait="sound"/>
      <Element id="achtung" trait="steady"/>
      <Element id="zug" trait="temp"/>
      <Element id="ziel" trait="temp"/>
    </Language>
    )xml";
}

}  // namespace

AnnouncementDocument::AnnouncementDocument()
    : References(ReferenceOf("de") + ReferenceOf("en")),
      Format(R"xml(<RBLFormat minrows="1" maxrows="2">
      <Attribute name="train" assignto="zug" musthavevalue="yes"/>
      <Attribute name="dest" assignto="ziel"/>
    </RBLFormat>)xml"),
      Cases(R"xml(<Case id="late" substr="delay" type="number" operator="gt" begin="0" end="-1"
      value="0"/>)xml"),
      Languages(R"xml(<Language name="de" generalprefix="\voice(de)">
      <Announcement position="0">
        <Speech id="gong"/>
        <Speech id="zug" prefix="Zug " suffix="."/>
        <Condition name="late">
          <Speech id="achtung"/>
        </Condition>
      </Announcement>
      <Announcement position="1">
        <Speech id="zug" prefix="Auch " suffix="."/>
      </Announcement>
    </Language>
    <Language name="en" generalprefix="\voice(en)">
      <Announcement position="0">
        <Speech id="zug" prefix="Train " suffix="."/>
      </Announcement>
      <Announcement position="1">
        <Speech id="zug" prefix="Also " suffix="."/>
      </Announcement>
    </Language>)xml") {}

AnnouncementDocument AnnouncementDocument::WithPhrases(const std::string& phrases) {
  AnnouncementDocument document;
  document.References = ReferenceOf("de");
  document.Languages =
      "<Language name=\"de\" generalprefix=\"P\">\n      <Announcement position=\"0\">" + phrases +
      "\n      </Announcement>\n    </Language>";
  return document;
}

std::string AnnouncementDocument::Text() const {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Station>\n  <References>\n    " +
         References + "\n  </References>\n  <Assembly>\n    " + Format + "\n    " + Cases +
         "\n    " + Languages + "\n  </Assembly>\n</Station>\n";
}

Station::Station() : root_(dir_.Path()) {
  for (const char* name : {"store", "play", "sounds", "steady/de", "steady/en"}) {
    static_cast<void>(dir_.MakeDir(name));
  }
  const std::vector<unsigned> ports = FreePorts(3);
  entries_ = {{"nonvoicesounds", Sub("sounds")},
              {"bellfile", "bell.wav"},
              {"speechformat", kDocument},
              {"steadyspeeches", Sub("steady")},
              {"storetempram", Sub("store")},
              {"playtempram", Sub("play")},
              {"reginputport", std::to_string(ports[0])},
              {"rblinputport", std::to_string(ports[1])},
              {"cmdinputport", std::to_string(ports[2])},
              {"TimeoutCache", "3600"},
              {"rootDir", "/opt/tts/"},
              {"engineName", "voxeng"},
              {"speakoutvoxeng", "./speak -v de"},
              {"savespeechvoxeng", "/opt/tts/bin/save"}};
  WriteConfiguration();
  WriteCatalogues();
  SetDocument(AnnouncementDocument());
}

std::string Station::Write(const std::string& name, const std::string& content) const {
  return dir_.Write(name, content);
}

void Station::SetDocument(const AnnouncementDocument& document) const {
  Write(kDocument, document.Text());
}

void Station::Set(const std::string& key, const std::string& value) {
  const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const auto& present) { return present.first == key; });
  if (entry == entries_.end()) {
    entries_.emplace_back(key, value);
  } else {
    entry->second = value;
  }
  WriteConfiguration();
}

void Station::Remove(const std::string& key) {
  std::erase_if(entries_, [&](const auto& entry) { return entry.first == key; });
  WriteConfiguration();
}

std::string Station::Value(const std::string& key) const {
  for (const auto& [name, value] : entries_) {
    if (name == key) return value;
  }
  throw std::out_of_range(key);
}

unsigned Station::Port(const std::string& key) const {
  return static_cast<unsigned>(std::stoul(Value(key)));
}

std::string Station::Echo(const std::string& key) const {
  return "GetValueString: " + key + "=" + Value(key) + "\n";
}

void Station::WriteConfiguration() const {
  std::string text;
  for (const auto& [name, value] : entries_)
    text += name + "=\"" + value + "\"\n";
  Write("kaconfig/kaTtsServer.kacfg", text);
}

void Station::WriteCatalogues() const {
  Write("messages/errDE.csv", "1000    ------Start fehlgeschlagen.\n");
  Write("messages/errEN.csv", "1000    ------Start failed.\n");
  Write("messages/stdDE.csv",
        "1000    ------Bereit.\n1000    ------Ende.\n7000    ------Meldungen geladen.\n");
  Write("messages/stdEN.csv",
        "1000    ------Ready.\n1000    ------Closing.\n7000    ------Messages loaded.\n");
}

namespace {

std::unique_ptr<CkaTTSServer> StartWithoutConfiguration() {
  const TempDir empty;
  const ServerRoot root(empty.Path());
  const CaptureOutput quiet;
  return std::make_unique<CkaTTSServer>();
}

}  // namespace

IdleServer::IdleServer() : server_(StartWithoutConfiguration()) {}

IdleServer::~IdleServer() {
  server_.reset();
  AppRef = nullptr;
}

void IdleServer::Set(const std::string& name, const std::string& value) {
  server_->kaConfig.ProfValues.push_back({name, value});
}

bool IdleServer::Receive(kaCallBack callback, std::string text) {
  return callback(40, text.data(), server_.get());
}

}  // namespace support
