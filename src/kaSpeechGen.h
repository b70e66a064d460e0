#ifndef KA_SPEECH_GEN_H
#define KA_SPEECH_GEN_H

#include <string>
#include <vector>

#include "kaNavigateXML.h"

/// Reads the languages of the section "Assembly" of the announcement document: per language the
/// announcements, each an ordered list of phrases.
class CkaSpeechGen : public CkaNavigateXML {
 public:
  struct kaTTSPhrase {
    std::string RefId;      ///< the element to speak
    std::string Lexicon;    ///< lexicon file for a value
    std::string Prefix;     ///< text before a value
    std::string Suffix;     ///< text after a value
    std::string Condition;  ///< case that must hold; "" for always
  };

  struct kaTTSAnnouncement {
    int Position = 0;
    int PositionMax = 0;  ///< equal to Position unless the document gives another
    std::vector<kaTTSPhrase> Phrases;
  };

  struct kaTTSLanguage {
    std::string Name;
    int PrefSex = 3;  ///< 1 male, 2 female, 3 no preference
    std::string GeneralPrefix;
    std::vector<kaTTSAnnouncement> Announcements;
  };

  CkaSpeechGen();

  /// Reads the section.
  /// \throws std::out_of_range if the document has no Assembly.
  bool ReadSpeechBuildSeq();

  int GetLanguageCount() const;
  /// \throws std::out_of_range for an index outside the list, as the next four.
  std::string GetLanguageName(int lang) const;
  std::string GetGeneralPrefix(int lang) const;
  int GetAnnouncementCount(int lang) const;
  /// Whether an announcement has exactly this Position; PositionMax does not count.
  bool DoesAnnouncementExists(int lang, int position) const;
  /// List index of the first announcement with position == Position or position <= PositionMax, -1
  /// if there is none.
  int FindAnnouncement(int lang, int position) const;
  /// A truth value that callers take as the list index 0 or 1: whether the first announcement with
  /// position == Position or position <= PositionMax has another Position than 0; true if there is
  /// none. Announcement documents are written for it: first row in full, further rows short.
  bool GetAnnouncementIndex(int lang, int position) const;
  /// A copy of the announcement at list index `index`.
  /// \throws std::out_of_range
  kaTTSAnnouncement AccessAnnouncement(int lang, int index) const;
  /// The same without a copy.
  const kaTTSAnnouncement& AnnouncementAt(int lang, int index) const;

  void SetMainNodes();
  bool ReadLanguages();
  bool ReadAnnoucements(kaTTSLanguage& lang, xmlpp::Node* node);
  bool ReadPhraseSpeech(kaTTSPhrase& phrase, xmlpp::Node* node);

  xmlpp::Node* pRootNode;
  xmlpp::Node* pAssemNode;
  xmlpp::NodeSet LanguageSet;
  std::vector<kaTTSLanguage> Languages;

 private:
  const kaTTSLanguage& LanguageAt(int lang) const;
  void ReadPhrases(kaTTSAnnouncement& announcement, xmlpp::Node* node);
  void ReadConditionalPhrases(kaTTSAnnouncement& announcement, xmlpp::Node* condition);
};

#endif
