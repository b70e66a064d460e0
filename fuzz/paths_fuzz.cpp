// Paths and short texts: ROOT 0 PATH 0 DELIMITER 0 TEXT. PATH is resolved against ROOT, its parent
// is taken; TEXT is cut at DELIMITER, split as a play list, and looked up as a command.

#include "kaFile.h"
#include "kaTTSServer.h"
#include "support/expect.h"
#include "support/input.h"
#include "support/output.h"
#include "support/path_model.h"
#include "support/station.h"
#include "target.h"

namespace {

using fuzz::ExpectEqual;

void CheckPath(const std::string& path) {
  const CkaFile file;
  ExpectEqual("resolved", file.GetFileNameFromShellPath(path),
              model::ResolvedPath(file.GetCWD(), path));
  ExpectEqual("parent", file.GetParentDir(path, false), model::ParentDirectory(path));
  ExpectEqual("directory", file.GetParentDir(path + "/", false),
              model::ParentDirectory(path + "/"));
}

void CheckText(const std::string& text, const std::string& delimiter) {
  const CkaTTSServer& server = fuzz::TheServer();
  ExpectEqual("cut", server.CutDelim(text, delimiter), model::Before(text, delimiter));
  ExpectEqual("play list", server.GetPlayList(text), model::PlayListNames(text));
  const fuzz::Output output;
  const int number = model::CommandNumber(text);
  ExpectEqual("command", server.CheckCommands(text), number);
  ExpectEqual("echo", output.Out(), "new cmd: " + text + " " + std::to_string(number) + "\n");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::string root = input.TakePart();
  const std::string path = input.TakePart();
  const std::string delimiter = input.TakePart();
  const std::string text = input.TakePart();

  fuzz::UseAsRoot(root);
  CheckPath(path);
  CheckPath(root);
  CheckText(text, delimiter);
  CheckText(path, "///");
  return 0;
}
