#include <algorithm>
#include <map>
#include <string>

#include "check/rule_groups.h"
#include "check/sample_blocks.h"

namespace tools {

namespace {

constexpr Rule kSampleTooLarge = {
    .Id = "sample-block-too-large",
    .Level = Severity::Error,
    .Title = {"Ein Beispielblock ist größer, als der Server auf einmal liest",
              "A sample block is larger than the server reads at once"},
    .Problem = {"der Block hat {0} Bytes", "the block has {0} bytes"},
    .Effect = {"Er liest nur die ersten {1} Bytes und lehnt den ganzen Block ab, weil sein Ende "
               "fehlt.",
               "It reads the first {1} bytes only and refuses the whole block, since its end is "
               "missing."},
    .Advice = {"mehrere Blöcke mit weniger Zeilen, oder kürzere Werte",
               "several blocks of fewer rows, or shorter values"},
    .Explanation = {
        "Von jeder Verbindung liest der Server genau einmal, höchstens 11999 Bytes. Geprüft werden "
        "die Beispiele im Verzeichnis blocks neben dem Ansagedokument.",
        "The server reads exactly once of each connection, at most 11999 bytes. Looked at are the "
        "samples in the directory blocks beside the announcement document."}};

constexpr Rule kLargestTooLarge = {
    .Id = "largest-block-too-large",
    .Level = Severity::Warning,
    .Title = {"Ein Block mit allen erlaubten Zeilen ist größer, als der Server auf einmal liest",
              "A block of all allowed rows is larger than the server reads at once"},
    .Problem = {"ein Block von {0} Zeilen kann {1} Bytes haben",
                "a block of {0} rows can have {1} bytes"},
    .Effect = {"Er liest nur die ersten {2} Bytes und lehnt einen größeren Block ganz ab.",
               "It reads the first {2} bytes only and refuses a larger block as a whole."},
    .Advice = {"maxrows=\"{3}\" oder weniger, oder weniger Attribute",
               "maxrows=\"{3}\" or less, or fewer attributes"},
    .Explanation = {
        "Der größte Block ist geschätzt: maxrows Zeilen mit allen Attributen, jedes mit dem "
        "längsten Wert, den es in den Beispielen im Verzeichnis blocks hat.",
        "The largest block is estimated: maxrows rows with all attributes, each with the longest "
        "value that it has in the samples in the directory blocks."}};

constexpr Rule kRules[] = {kSampleTooLarge, kLargestTooLarge};

using Lengths = std::map<std::string, std::size_t>;

/// The longest value of each attribute.
Lengths LongestValues(const std::vector<SampleBlock>& blocks) {
  Lengths longest;
  for (const SampleBlock& block : blocks) {
    for (const auto& row : block.Rows) {
      for (const auto& [name, value] : row)
        longest[name] = std::max(longest[name], value.size());
    }
  }
  return longest;
}

/// Bytes of a row with all attributes of the format.
std::size_t LargestRow(const CkaRBLDataFormat& format, const Lengths& longest) {
  constexpr std::string_view kRow = "<row/>\n";
  constexpr std::string_view kAttribute = " =\"\"";
  std::size_t size = kRow.size();
  for (const CkaRBLDataFormat::Attribute& attribute : format.Attributes) {
    const auto length = longest.find(attribute.Name);
    size +=
        kAttribute.size() + attribute.Name.size() + (length == longest.end() ? 0 : length->second);
  }
  return size;
}

void CheckLargest(const CheckInput& input, const std::vector<SampleBlock>& blocks, Report& report) {
  constexpr std::string_view kFrame = "<rbl>\n</rbl>\n";
  const Element* format = input.Document->Format();
  // A negative number, which the server takes for a huge one, is a finding of its own.
  if (format == nullptr || !format->Has("maxrows") || format->Number("maxrows") < 0) return;
  const unsigned int rows = input.Readers->Format.GetMaxRows();
  const std::size_t row = LargestRow(input.Readers->Format, LongestValues(blocks));
  const std::size_t size = kFrame.size() + rows * row;
  if (size <= kLargestBlock) return;
  const SourcePosition at = format->ValueAt("maxrows");
  AddFinding(report, kLargestTooLarge, {input.Document->File(), at.Line, at.Column}, rows, size,
             kLargestBlock, (kLargestBlock - kFrame.size()) / row);
}

void Check(const CheckInput& input, Report& report) {
  const std::vector<SampleBlock> blocks = SampleBlocks(input.Station);
  for (const SampleBlock& block : blocks) {
    if (block.Size > kLargestBlock)
      AddFinding(report, kSampleTooLarge, {block.File, 0, 0}, block.Size, kLargestBlock);
  }
  if (input.Document != nullptr) CheckLargest(input, blocks, report);
}

}  // namespace

RuleGroup BlockRules() {
  return {{"Datenblöcke", "Data blocks"}, kRules, Check};
}

}  // namespace tools
