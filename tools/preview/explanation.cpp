#include "preview/explanation.h"

#include "common/station.h"

namespace tools {

namespace {

void AppendLinesOf(std::vector<int>& lines, const std::vector<const Element*>& elements) {
  for (const Element* element : elements)
    lines.push_back(element->At.Line);
}

/// The lines of an announcement's phrases as the server reads them: all but the last node.
std::vector<int> PhraseLines(const Element* announcement) {
  std::vector<int> lines;
  if (announcement == nullptr) return lines;
  for (const Element* child : announcement->Children) {
    if (child->bLastNode) continue;
    if (child->Name == "Speech") lines.push_back(child->At.Line);
    if (child->Name == "Condition") AppendLinesOf(lines, child->ChildrenCalled("Speech"));
  }
  return lines;
}

/// The line of each entry of a lexicon file.
std::vector<int> LinesOfEntries(const std::string& file) {
  std::vector<int> lines;
  const std::string text = Read(file) + "\n";
  Silently([&] {
    CkaProfile rows;
    int line = 1;
    for (std::size_t at = 0; at < text.size(); ++line) {
      const std::size_t end = text.find('\n', at);
      if (rows.CheckRow(text.substr(at, end - at)) == 1) lines.push_back(line);
      at = end + 1;
    }
  });
  return lines;
}

template <class Item>
const Item* ItemAt(const std::vector<Item>& items, int index) {
  return index < 0 || index >= static_cast<int>(items.size())
             ? nullptr
             : &items[static_cast<std::size_t>(index)];
}

const Element* ChildAt(const Element* parent, const char* name, int index) {
  if (parent == nullptr) return nullptr;
  const std::vector<const Element*> children = parent->ChildrenCalled(name);
  const Element* const* child = ItemAt(children, index);
  return child == nullptr ? nullptr : *child;
}

}  // namespace

Explainer::Explainer(const CkaSpeechbuilder& builder, const Document& document)
    : builder_(builder), document_(document), cases_(builder.CaseData, document) {}

Explanation Explainer::Of(const kaCompositionTrace& trace, const CkaCaseCheck& checked,
                          const CkaRBLDataContent& content, int row, int lang) {
  Explanation explanation{Choice(trace, row, lang), trace.GeneralPrefix, {}};
  if (!trace.bExists) return explanation;
  const auto& phrases = builder_.SpeechGen.AnnouncementAt(lang, trace.Index).Phrases;
  const std::vector<int> lines = PhraseLines(AnnouncementElement(lang, trace.Index));
  for (const kaPhraseTrace& phraseTrace : trace.Phrases) {
    PhraseReason& reason = explanation.Phrases.emplace_back();
    reason.Phrase = phrases.at(phraseTrace.Number);
    reason.Trace = phraseTrace;
    if (lines.size() == phrases.size()) reason.Line = lines[phraseTrace.Number];
    if (!reason.Phrase.Condition.empty()) {
      reason.Case = cases_.Of(reason.Phrase.Condition, checked, content, row);
    }
    reason.EntryLines = EntryLines(phraseTrace);
  }
  return explanation;
}

AnnouncementChoice Explainer::Choice(const kaCompositionTrace& trace, int row, int lang) const {
  AnnouncementChoice choice;
  choice.Fitting = builder_.SpeechGen.FindAnnouncement(lang, row);
  if (choice.Fitting >= 0) {
    const auto& fitting = builder_.SpeechGen.AnnouncementAt(lang, choice.Fitting);
    choice.Position = fitting.Position;
    choice.PositionMax = fitting.PositionMax;
  }
  choice.Index = trace.Index;
  choice.bExists = trace.bExists;
  if (const Element* announcement = AnnouncementElement(lang, trace.Index)) {
    choice.Line = announcement->At.Line;
  }
  return choice;
}

const Element* Explainer::AnnouncementElement(int lang, int index) const {
  return ChildAt(ChildAt(document_.Assembly(), "Language", lang), "Announcement", index);
}

std::vector<int> Explainer::EntryLines(const kaPhraseTrace& trace) {
  std::vector<int> lines;
  if (trace.Replacements.empty()) return lines;
  const auto [known, isNew] = entryLines_.try_emplace(trace.LexiconPath);
  if (isNew) known->second = LinesOfEntries(trace.LexiconPath);
  for (const kaReplacement& replacement : trace.Replacements) {
    const int* line = ItemAt(known->second, static_cast<int>(replacement.Entry));
    lines.push_back(line == nullptr ? 0 : *line);
  }
  return lines;
}

}  // namespace tools
