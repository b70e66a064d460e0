#include "check/configuration_keys.h"

namespace tools {

namespace {

constexpr Bilingual kNoDocument = {"Er öffnet keinen Port.", "It opens no port."};
constexpr Bilingual kNoEngine = {"Er startet keine Sprachmaschine: Nichts wird gesprochen.",
                                 "It starts no engine: nothing is spoken."};
constexpr Bilingual kNoTexts = {"Texte, die sofort gesprochen werden sollen, bleiben stumm.",
                                "Texts to be spoken at once stay silent."};
constexpr Bilingual kNoFiles = {"Es entsteht keine Sprachdatei: Ansagen bleiben stumm.",
                                "No speech file is made: announcements stay silent."};
constexpr Bilingual kNoSounds = {"Er sucht die Klänge im Wurzelverzeichnis \"/\".",
                                 "It looks for the sounds in the root directory \"/\"."};
constexpr Bilingual kNoBell = {"Auf \"!bell\" ist nichts zu hören.", "\"!bell\" is not heard."};
constexpr Bilingual kNoSteady = {
    "Er sucht und erzeugt die vorbereiteten Phrasen in Verzeichnissen von \"/\".",
    "It looks for and makes the prepared phrases in directories of \"/\"."};
constexpr Bilingual kNoStore = {"Er legt neue Ansagen in \"/\" ab und räumt sie nie auf.",
                                "It puts new announcements into \"/\" and never removes them."};
constexpr Bilingual kNoPlay = {
    "Er sucht die Ansagen zum Abspielen in \"/\" und entfernt veraltete nicht.",
    "It looks for the announcements to play in \"/\" and does not remove outdated ones."};
constexpr Bilingual kNoTimeout = {
    "Er liest 0: Ansagen von gestern bleiben liegen und können gespielt werden.",
    "It reads 0: announcements of yesterday stay and can be played."};

}  // namespace

std::vector<ConfigurationKey> NeededKeys(const std::string& engine) {
  std::vector<ConfigurationKey> keys = {
      {"rootDir", kNoTexts},         {"engineName", kNoEngine}, {"speechformat", kNoDocument},
      {"nonvoicesounds", kNoSounds}, {"bellfile", kNoBell},     {"steadyspeeches", kNoSteady},
      {"storetempram", kNoStore},    {"playtempram", kNoPlay},  {"TimeoutCache", kNoTimeout}};
  if (engine.empty()) return keys;
  keys.push_back({std::string(kSpeakKey) + engine, kNoTexts});
  keys.push_back({std::string(kSaveKey) + engine, kNoFiles});
  return keys;
}

}  // namespace tools
