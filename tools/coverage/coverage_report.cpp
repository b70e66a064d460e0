#include "coverage/coverage_report.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "common/report.h"
#include "common/terminal.h"
#include "coverage/coverage_advice.h"

namespace tools {

namespace {

constexpr Bilingual kNumbers = {"Blöcke: {0}, Zeilen: {1}, abgelehnte Blöcke: {2}",
                                "blocks: {0}, rows: {1}, refused blocks: {2}"};
constexpr Bilingual kRow = {"{0:<16} {1:>6} von {2:>6} {3:>8} %",
                            "{0:<16} {1:>6} of {2:>6} {3:>8} %"};
constexpr Bilingual kRefused = {"abgelehnt: ", "refused: "};
constexpr Bilingual kMissing = {"Nie erreicht:", "Never reached:"};
constexpr Bilingual kAllReached = {"Alles wurde erreicht.", "Everything was reached."};

nlohmann::ordered_json AsJson(const Share& share) {
  return {{"reached", share.Reached}, {"total", share.Total}, {"percent", share.Percent()}};
}

}  // namespace

const Bilingual kTotalTitle = {"Dokument gesamt", "whole document"};

CoverageReport::CoverageReport(const Coverage& coverage, std::string root, Language language)
    : coverage_(coverage), root_(std::move(root)), language_(language) {}

std::string CoverageReport::Summary(bool colored) const {
  std::string text = Painted(NameOf(coverage_.Document().File()), Color::Bold, colored) + "\n" +
                     Numbers() + "\n\n";
  for (const ItemKind kind : kItemKinds) {
    if (kind == ItemKind::LexiconEntry) {
      text += SummaryRow(kTotalTitle(language_), coverage_.Total(), colored);
    }
    text += SummaryRow(TitleOf(kind, language_), coverage_.ShareOf(kind), colored);
  }
  if (!coverage_.Refused().empty()) text += "\n";
  for (const RefusedBlock& block : coverage_.Refused()) {
    text += Painted(kRefused(language_), Color::Yellow, colored) + block.File.string() + ": " +
            std::string((*block.Reason)(language_)) + "\n";
  }
  return text;
}

std::string CoverageReport::SummaryRow(std::string_view title, const Share& share,
                                       bool colored) const {
  const std::string row = Say(kRow, language_, title, share.Reached, share.Total, Percent(share));
  return Painted(row, share.Reached == share.Total ? Color::Green : Color::Red, colored) + "\n";
}

std::string CoverageReport::Missing(bool colored) const {
  std::string text;
  for (const CoverageItem& item : coverage_.Items().All) {
    if (item.Hits > 0) continue;
    const std::string column =
        item.Where.Column == 0 ? "" : ":" + std::to_string(item.Where.Column);
    text += Painted(NameOf(item.Where.File) + ":" + std::to_string(item.Where.Line) + column + ":",
                    Color::Bold, colored) +
            " " + std::string(SingularOf(item.Kind, language_)) + " \"" + item.Name +
            "\": " + AdviceOf(item) + "\n";
  }
  if (text.empty()) return std::string(kAllReached(language_)) + "\n";
  return std::string(kMissing(language_)) + "\n" + text;
}

nlohmann::ordered_json CoverageReport::Json() const {
  nlohmann::ordered_json refused = nlohmann::ordered_json::array();
  for (const RefusedBlock& block : coverage_.Refused()) {
    refused.push_back(
        {{"file", block.File.string()}, {"reason", std::string((*block.Reason)(language_))}});
  }
  nlohmann::ordered_json items = nlohmann::ordered_json::array();
  for (const CoverageItem& item : coverage_.Items().All)
    items.push_back(ItemAsJson(item));
  return {{"document", NameOf(coverage_.Document().File())},
          {"blocks", coverage_.BlockCount()},
          {"rows", coverage_.RowCount()},
          {"refused", std::move(refused)},
          {"kinds", KindsAsJson()},
          {"total", AsJson(coverage_.Total())},
          {"items", std::move(items)}};
}

nlohmann::ordered_json CoverageReport::KindsAsJson() const {
  nlohmann::ordered_json kinds;
  for (const ItemKind kind : kItemKinds)
    kinds[std::string(KeyOf(kind))] = AsJson(coverage_.ShareOf(kind));
  return kinds;
}

nlohmann::ordered_json CoverageReport::ItemAsJson(const CoverageItem& item) const {
  nlohmann::ordered_json json = {{"kind", KeyOf(item.Kind)},        {"name", item.Name},
                                 {"file", NameOf(item.Where.File)}, {"line", item.Where.Line},
                                 {"column", item.Where.Column},     {"hits", item.Hits}};
  if (item.Hits == 0) json["advice"] = AdviceOf(item);
  return json;
}

std::string CoverageReport::NameOf(const std::filesystem::path& file) const {
  return Report(language_, root_).DisplayName(file);
}

std::string CoverageReport::Numbers() const {
  return Say(kNumbers, language_, coverage_.BlockCount(), coverage_.RowCount(),
             coverage_.Refused().size());
}

std::string CoverageReport::Percent(const Share& share) const {
  std::string percent = fmt::format("{:.1f}", share.Percent());
  if (language_ == Language::German) percent.replace(percent.find('.'), 1, ",");
  return percent;
}

std::string CoverageReport::AdviceOf(const CoverageItem& item) const {
  return AdviceFor(item, coverage_, language_);
}

}  // namespace tools
