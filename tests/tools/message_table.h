#ifndef KA_TESTS_TOOLS_MESSAGE_TABLE_H
#define KA_TESTS_TOOLS_MESSAGE_TABLE_H

#include <string>
#include <vector>

namespace toolstest {

/// What a client command is asked to send, and what comes of it. The Python client is tested with
/// the same table.
struct MessageCase {
  std::string Command;
  bool bRaw = false;
  std::string Input;               ///< text or block
  std::vector<std::string> Names;  ///< of a play list
  std::string Sent;
  std::string Refused;  ///< id of the reason, "" if it is sent
  std::string Row;      ///< how the table has it
};

/// The rows of tests/clients/messages.json.
std::vector<MessageCase> MessageTable();

}  // namespace toolstest

#endif
