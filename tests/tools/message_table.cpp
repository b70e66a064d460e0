#include "message_table.h"

#include <nlohmann/json.hpp>

#include "support/temp_dir.h"

namespace toolstest {

namespace {

using nlohmann::json;

std::string FromHex(const std::string& digits) {
  std::string bytes;
  for (std::size_t at = 0; at < digits.size(); at += 2)
    bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
  return bytes;
}

std::string Times(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

MessageCase CaseOf(const json& row) {
  const int times = row.value("times", 1);
  MessageCase result;
  result.Command = row.at("command");
  result.bRaw = row.value("raw", false);
  result.Input = Times(row.value("text", FromHex(row.value("hex", ""))), times);
  for (const std::string name : row.value("names", json::array()))
    result.Names.push_back(Times(name, times));
  result.Sent = row.value("sent", result.Input);
  result.Refused = row.value("refused", "");
  result.Row = row.dump();
  return result;
}

}  // namespace

std::vector<MessageCase> MessageTable() {
  std::vector<MessageCase> cases;
  for (const json& row :
       json::parse(support::ReadFile(KA_SOURCE_DIR "/tests/clients/messages.json")))
    cases.push_back(CaseOf(row));
  return cases;
}

}  // namespace toolstest
