#ifndef KA_SPEECH_FORMAT_H
#define KA_SPEECH_FORMAT_H

#include <string>
#include <unordered_map>
#include <vector>

#include "kaNavigateXML.h"

/// A voice of the speech engine.
struct kaVoice {
  std::string Name;
  int Sex = 0;  ///< 1 male, 2 female, 0 other
};

/// A fixed piece of speech that announcements refer to.
struct kaTTSElement {
  std::string id;
  int trait = 0;  ///< one of CkaSpeechFormat's traits
};

/// A spoken language with what it has.
struct KaLangRef {
  std::string LangName;
  std::vector<kaVoice> Voices;
  std::vector<kaTTSElement> Elements;  ///< its own, then those of the shared language "all"
  std::vector<std::string> Lexica;     ///< its own, then those of "all"
};

/// Reads the section "References" of the announcement document: languages with their voices, lexica
/// and elements. While it reads prepared ("steady") elements it keeps their text and speech files
/// up to date through the application object; without one it touches no file.
class CkaSpeechFormat : public CkaNavigateXML {
 public:
  enum {
    _KASsteady = 0,  ///< prepared speech, kept as a text and a .wav file per language
    _KASsound = 1,   ///< a sound file
    _KAStemp = 2,    ///< a value of the data row
    _KASerror = 3    ///< language or element unknown
  };

  CkaSpeechFormat();

  /// Reads the section. False if there is no language, or a language without voices, or a faulty
  /// voice or element.
  /// \throws std::out_of_range if the document has no References or no Assembly.
  bool ReadReferences();

  int GetLanguageCount() const;
  /// Name of the first voice of the last language called `lang`, "" if there is none.
  std::string GetFirstVoice(const std::string& lang) const;
  /// Trait of the last element `id` of the last language called `lang`; _KASerror if there is none.
  int GetElementTrait(const std::string& lang, const std::string& id) const;
  /// Always false: lexica are looked for where they are used.
  bool LexiconExists(const std::string& name) const;
  std::vector<KaLangRef> GetLanguages() const;

  void SetMainNodes();
  bool GetLanguageRef();
  bool GetVoiceData(xmlpp::Node* node, KaLangRef& ref);
  bool GetLexiconData(xmlpp::Node* node, KaLangRef& ref);
  bool GetElementData(xmlpp::Node* node, KaLangRef& ref);

  std::vector<KaLangRef> LangRefs;
  xmlpp::Node* pRootNode;
  xmlpp::Node* pRefNode;
  xmlpp::Node* pAssemNode;

 private:
  bool ReadOwnData(xmlpp::Node* node, KaLangRef& ref);
  bool ReadSharedData(xmlpp::Node* allNode);
  void IndexElements();

  /// Traits by element id, for the last language of each name.
  std::unordered_map<std::string, std::unordered_map<std::string, int>> TraitsByLanguage;
};

/// Whether anything is at `path`.
bool existsf(const std::string& path);
/// The whole file, "" if it cannot be opened.
std::string readf(const std::string& path);
/// Replaces the file's contents by `text`; false if it cannot be written.
bool writef(const std::string& path, const std::string& text);

#endif
