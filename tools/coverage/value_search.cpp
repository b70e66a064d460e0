#include "coverage/value_search.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "common/station.h"
#include "kaCaseCheck.h"
#include "kaNavigateXML.h"
#include "kaRBLDataContent.h"

namespace tools {

namespace {

using CaseRecord = CkaCases::kaCaseStruct;

/// No value is made longer than a block can be.
constexpr int kLongestValue = 11999;

/// `value` as it is written in an attribute of a block.
std::string Escaped(std::string_view value) {
  std::string escaped;
  for (const char c : value) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\n':
      case '\t':
      case '\r':
        escaped += "&#" + std::to_string(static_cast<int>(c)) + ";";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

/// The document's values have the escape character where blocks have backslash-e.
std::string WithoutEscapeCharacter(std::string_view value) {
  std::string written;
  for (const char c : value)
    written += c == '\x1b' ? std::string("\\e") : std::string(1, c);
  return written;
}

/// Whether the server finds that a test holds; none if the block would be refused or given up.
std::optional<bool> Evaluate(CkaCases& cases, int number, const std::string& value) {
  std::optional<bool> result;
  Silently([&] {
    CkaRBLDataContent content;
    const std::string row = cases.GetFirstValRefAt(number) + "=\"" + Escaped(value) + "\"";
    if (!content.Initialize("<block><row " + row + "/></block>", false, true)) return;
    content.ReadContent();
    CkaCaseCheck check;
    check.Initialize(&cases, &content);
    try {
      result = cases.GetTypeAt(number) == CkaCases::_CS_STRLEN ? check.CheckStrlenForRow(0, number)
                                                               : check.CheckSubstrForRow(0, number);
    } catch (const std::out_of_range&) {
      result.reset();
    }
  });
  return result;
}

std::vector<std::string> LikelyLengths(const CaseRecord& record) {
  const int reference = LeadingInteger(record.SecondVal);
  std::vector<std::string> values;
  for (const long length : {0L, reference - 1L, static_cast<long>(reference), reference + 1L}) {
    if (length < 0 || length > kLongestValue) continue;
    values.emplace_back(static_cast<std::size_t>(length), 'x');
  }
  return values;
}

/// Parts that a test may ask for; `width` is that of a part with an end, else 0.
std::vector<std::string> LikelyNumbers(const CaseRecord& record, std::size_t width) {
  const long reference = LeadingInteger(record.SecondVal);
  std::vector<std::string> parts;
  for (const long number : {reference, reference + 1, reference - 1, 0L, 1L}) {
    std::string digits = std::to_string(number);
    if (number >= 0 && digits.size() < width) digits.insert(0, width - digits.size(), '0');
    digits.resize(std::max(digits.size(), width), ' ');
    parts.push_back(std::move(digits));
  }
  return parts;
}

std::vector<std::string> LikelyTexts(const CaseRecord& record, std::size_t width) {
  const std::string wanted = WithoutEscapeCharacter(record.SecondVal);
  std::vector<std::string> parts = {wanted, wanted.substr(0, 1), "", "x", "-", wanted + "x"};
  for (std::string& part : parts) {
    if (part.size() < width) part.append(width - part.size(), 'x');
  }
  parts.emplace_back(width, '-');
  return parts;
}

std::vector<std::string> LikelyValues(const CaseRecord& record) {
  if (record.Type == CkaCases::_CS_STRLEN) return LikelyLengths(record);
  if (record.Begin < 0 || record.Begin > kLongestValue || record.End > kLongestValue) return {};
  const bool isNumber = record.TreatAs == CkaCases::_CST_NUMBER;
  const std::size_t width =
      record.End < record.Begin ? 0 : static_cast<std::size_t>(record.End - record.Begin) + 1;
  std::vector<std::string> values =
      isNumber ? LikelyNumbers(record, width) : LikelyTexts(record, width);
  for (std::string& value : values)
    value.insert(0, static_cast<std::size_t>(record.Begin), isNumber ? '0' : 'x');
  values.emplace_back();
  return values;
}

}  // namespace

std::optional<std::string> ValueFor(const CkaCases& cases, int number, bool holds,
                                    bool mayBeEmpty) {
  // What is evaluated is only this case, but the server's check takes a list that it may change.
  CkaCases only;
  only.SortedCases = {cases.GetCaseAt(number)};
  const std::vector<std::string> values = LikelyValues(only.GetCaseAt(0));
  const auto found = std::find_if(values.begin(), values.end(), [&](const std::string& value) {
    return (mayBeEmpty || !value.empty()) && Evaluate(only, 0, value) == holds;
  });
  if (found == values.end()) return std::nullopt;
  return *found;
}

}  // namespace tools
