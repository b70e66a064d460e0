#include "kaSpeechGen.h"

#include <algorithm>

namespace {

/// Announcement documents write this word in small letters or with a capital.
int PreferredSex(const std::string& word) {
  if (word == "male" || word == "Male") return 1;
  if (word == "female" || word == "Female") return 2;
  return 3;
}

std::size_t Index(int i) {
  return static_cast<std::size_t>(i);
}

}  // namespace

CkaSpeechGen::CkaSpeechGen() : pRootNode(nullptr), pAssemNode(nullptr) {
  _KA_THISCLASS_MSG_ID = 10500;
}

bool CkaSpeechGen::ReadSpeechBuildSeq() {
  SetMainNodes();
  return ReadLanguages();
}

int CkaSpeechGen::GetLanguageCount() const {
  return static_cast<int>(Languages.size());
}

std::string CkaSpeechGen::GetLanguageName(int lang) const {
  return LanguageAt(lang).Name;
}

std::string CkaSpeechGen::GetGeneralPrefix(int lang) const {
  return LanguageAt(lang).GeneralPrefix;
}

int CkaSpeechGen::GetAnnouncementCount(int lang) const {
  return static_cast<int>(LanguageAt(lang).Announcements.size());
}

bool CkaSpeechGen::DoesAnnouncementExists(int lang, int position) const {
  const auto& announcements = LanguageAt(lang).Announcements;
  return std::any_of(announcements.begin(), announcements.end(),
                     [position](const kaTTSAnnouncement& a) { return a.Position == position; });
}

int CkaSpeechGen::FindAnnouncement(int lang, int position) const {
  const auto& announcements = LanguageAt(lang).Announcements;
  const auto match = std::find_if(announcements.begin(), announcements.end(),
                                  [position](const kaTTSAnnouncement& a) {
                                    return position == a.Position || position <= a.PositionMax;
                                  });
  return match == announcements.end() ? -1 : static_cast<int>(match - announcements.begin());
}

bool CkaSpeechGen::GetAnnouncementIndex(int lang, int position) const {
  const int match = FindAnnouncement(lang, position);
  return match < 0 || AnnouncementAt(lang, match).Position != 0;
}

CkaSpeechGen::kaTTSAnnouncement CkaSpeechGen::AccessAnnouncement(int lang, int index) const {
  return AnnouncementAt(lang, index);
}

const CkaSpeechGen::kaTTSAnnouncement& CkaSpeechGen::AnnouncementAt(int lang, int index) const {
  return LanguageAt(lang).Announcements.at(Index(index));
}

void CkaSpeechGen::SetMainNodes() {
  LanguageSet.clear();
  pAssemNode = nullptr;
  pRootNode = GetRootNode();
  pAssemNode = GetRequiredChild(pRootNode, "Assembly");
  LanguageSet = FindNodes(pAssemNode, "Language");
}

bool CkaSpeechGen::ReadLanguages() {
  for (xmlpp::Node* node : LanguageSet) {
    kaTTSLanguage language;
    language.Name = GetAttributeValue(node, "name");
    language.GeneralPrefix = GetAttributeValue(node, "generalprefix");
    language.PrefSex = PreferredSex(GetAttributeValue(node, "prefer"));
    if (!ReadAnnoucements(language, node)) return false;
    Languages.push_back(std::move(language));
  }
  return true;
}

bool CkaSpeechGen::ReadAnnoucements(kaTTSLanguage& lang, xmlpp::Node* node) {
  for (xmlpp::Node* child : FindNodes(node, "Announcement")) {
    kaTTSAnnouncement announcement;
    announcement.Position = GetAttributeValueInt(child, "position");
    announcement.PositionMax = GetAttributeValueInt(child, "positionMax");
    if (announcement.PositionMax == 0) announcement.PositionMax = announcement.Position;
    ReadPhrases(announcement, child);
    lang.Announcements.push_back(std::move(announcement));
  }
  return true;
}

void CkaSpeechGen::ReadPhrases(kaTTSAnnouncement& announcement, xmlpp::Node* node) {
  xmlpp::Node::NodeList children = node->get_children();
  // The last child is never looked at: in documents as they are written it is the white space in
  // front of the closing tag, and authors put a phrase last there to switch it off.
  if (!children.empty()) children.pop_back();
  for (xmlpp::Node* child : children) {
    const std::string name = GetElementName(child);
    if (name == "Speech") {
      ReadPhraseSpeech(announcement.Phrases.emplace_back(), child);
    } else if (name == "Condition") {
      ReadConditionalPhrases(announcement, child);
    }
  }
}

void CkaSpeechGen::ReadConditionalPhrases(kaTTSAnnouncement& announcement, xmlpp::Node* condition) {
  const std::string name = GetAttributeValue(condition, "name");
  for (xmlpp::Node* speech : FindNodes(condition, "Speech")) {
    kaTTSPhrase& phrase = announcement.Phrases.emplace_back();
    ReadPhraseSpeech(phrase, speech);
    phrase.Condition = name;
  }
}

bool CkaSpeechGen::ReadPhraseSpeech(kaTTSPhrase& phrase, xmlpp::Node* node) {
  phrase.RefId = GetAttributeValue(node, "id");
  if (AttributeExists(node, "prefix")) phrase.Prefix = GetAttributeValue(node, "prefix");
  if (AttributeExists(node, "suffix")) phrase.Suffix = GetAttributeValue(node, "suffix");
  if (AttributeExists(node, "lexicon")) phrase.Lexicon = GetAttributeValue(node, "lexicon");
  return true;
}

const CkaSpeechGen::kaTTSLanguage& CkaSpeechGen::LanguageAt(int lang) const {
  return Languages.at(Index(lang));
}
