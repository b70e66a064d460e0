#include "words/phonemes.h"

#include <espeak-ng/espeak_ng.h>
#include <espeak-ng/speak_lib.h>

#include <array>

namespace tools {

namespace {

constexpr std::string_view kClauseEnd = "||";
constexpr int kMnemonics = 0;

void Require(bool holds, const std::string& problem) {
  if (!holds) throw std::runtime_error("espeak-ng: " + problem);
}

std::string DataDirectory() {
  const char* path = nullptr;
  espeak_Info(&path);
  return path;
}

}  // namespace

Phonemes::Phonemes() {
  espeak_ng_InitializePath(nullptr);
  espeak_ng_ERROR_CONTEXT details = nullptr;
  const espeak_ng_STATUS status = espeak_ng_Initialize(&details);
  espeak_ng_ClearErrorContext(&details);
  Require(status == ENS_OK, "no data in " + DataDirectory());
  voices_.emplace(DataDirectory());
}

std::string Phonemes::Of(const std::string& text, const std::string& voice) {
  Select(voice);
  std::string phonemes;
  const void* rest = text.c_str();
  while (rest != nullptr) {
    const std::string_view clause = espeak_TextToPhonemes(&rest, espeakCHARS_UTF8, kMnemonics);
    const std::size_t first = clause.find_first_not_of(' ');
    if (first == std::string_view::npos) continue;
    if (!phonemes.empty()) phonemes.append(" ").append(kClauseEnd).append(" ");
    phonemes += clause.substr(first);
  }
  return phonemes;
}

void Phonemes::Select(const std::string& voice) {
  if (voice == selected_) return;
  if (!identifiers_.contains(voice)) {
    const std::optional<std::string> identifier = voices_->Find(voice);
    Require(identifier.has_value(), "no voice \"" + voice + "\"");
    identifiers_.emplace(voice, *identifier);
  }
  Require(espeak_ng_SetVoiceByName(identifiers_.at(voice).c_str()) == ENS_OK,
          "cannot load the voice \"" + voice + "\"");
  selected_ = voice;
}

std::string WithoutPauses(std::string_view phonemes) {
  // The clause end stands first: its two bars are no separators.
  constexpr std::array<std::string_view, 2> kKept = {kClauseEnd, "_:"};
  constexpr std::array<std::string_view, 5> kLeftOut = {"_!", "_|", "_", "|", " "};
  std::string result;
  while (!phonemes.empty()) {
    std::string_view found;
    bool keeps = true;
    for (const std::string_view mark : kKept) {
      if (found.empty() && phonemes.starts_with(mark)) found = mark;
    }
    for (const std::string_view mark : kLeftOut) {
      if (!found.empty() || !phonemes.starts_with(mark)) continue;
      found = mark;
      keeps = false;
    }
    if (found.empty()) found = phonemes.substr(0, 1);
    if (keeps) result += found;
    phonemes.remove_prefix(found.size());
  }
  return result;
}

}  // namespace tools
