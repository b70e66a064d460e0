#include "test/expected_texts.h"

#include <algorithm>

namespace tools {

namespace {

constexpr std::string_view kRejected = "rejected";
constexpr std::string_view kGivenUp = "given up";

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

void ReadLine(ExpectedTexts& texts, std::string_view line) {
  const std::size_t tab = line.find('\t');
  if (tab == std::string_view::npos) {
    if (line == kRejected) texts.Ending = ExpectedTexts::End::Rejected;
    if (line == kGivenUp) texts.Ending = ExpectedTexts::End::GivenUp;
  } else if (tab == 0 && !texts.Texts.empty()) {
    texts.Texts.back().Said.append("\n").append(line.substr(1));
  } else {
    texts.Texts.push_back({std::string(line.substr(0, tab)), std::string(line.substr(tab + 1))});
  }
}

}  // namespace

ExpectedTexts ReadExpected(std::string_view file) {
  ExpectedTexts texts;
  for (std::size_t at = 0; at < file.size();) {
    const std::size_t end = std::min(file.find('\n', at), file.size());
    ReadLine(texts, file.substr(at, end - at));
    at = end + 1;
  }
  return texts;
}

std::string WriteExpected(const ExpectedTexts& texts) {
  std::string file;
  for (ExpectedTexts::Text text : texts.Texts) {
    ReplaceAll(text.Said, "\n", "\n\t");
    file += text.Name + "\t" + text.Said + "\n";
  }
  if (texts.Ending == ExpectedTexts::End::Rejected) file.append(kRejected).append("\n");
  if (texts.Ending == ExpectedTexts::End::GivenUp) file.append(kGivenUp).append("\n");
  return file;
}

ExpectedTexts PresentTexts(const BlockPreview& preview) {
  ExpectedTexts texts;
  for (const ComposedText& text : preview.Texts)
    if (text.bExists) texts.Texts.push_back({text.Name, text.Text});
  if (preview.Result != BlockPreview::Outcome::Complete) {
    texts.Ending = preview.IsGivenUp() ? ExpectedTexts::End::GivenUp : ExpectedTexts::End::Rejected;
  }
  return texts;
}

StationMarks::StationMarks(const CkaSpeechbuilder& builder)
    : marks_{{"@SOUNDS@/", builder.SoundsPath + "/"}, {"@STEADY@/", builder.SteadyPath + "/"}} {
  std::erase_if(marks_, [](const Mark& mark) { return mark.Directory == "/"; });
  std::sort(marks_.begin(), marks_.end(),
            [](const Mark& a, const Mark& b) { return a.Directory.size() > b.Directory.size(); });
}

ExpectedTexts StationMarks::WithMarks(ExpectedTexts texts) const {
  for (ExpectedTexts::Text& text : texts.Texts) {
    for (const Mark& mark : marks_)
      ReplaceAll(text.Said, mark.Directory, mark.Name);
  }
  return texts;
}

ExpectedTexts StationMarks::WithDirectories(ExpectedTexts texts) const {
  for (ExpectedTexts::Text& text : texts.Texts) {
    for (const Mark& mark : marks_)
      ReplaceAll(text.Said, mark.Name, mark.Directory);
  }
  return texts;
}

}  // namespace tools
