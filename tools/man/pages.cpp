// Makes manual pages and completions at build time:
//
//   ka-tts-pages man LANG TEMPLATE PAGE
//   ka-tts-pages bash FILE
//   ka-tts-pages zsh FILE

#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "app.h"
#include "common/station.h"
#include "man/bash_completion.h"
#include "man/man_page.h"
#include "man/zsh_completion.h"

namespace {

namespace fs = std::filesystem;

/// A command line in one language, with what it writes to.
struct Spoken {
  explicit Spoken(tools::Language language) {
    State.Lang = language;
    App = tools::MakeApp(State);
  }

  tools::Context State;
  std::unique_ptr<CLI::App> App;
};

void Write(const fs::path& file, const std::string& content) {
  fs::create_directories(file.parent_path());
  if (!(std::ofstream(file, std::ios::binary) << content).flush())
    throw std::runtime_error("cannot write " + file.string());
}

std::string PageOf(const std::string& lang, const fs::path& source, const fs::path& page) {
  const Spoken spoken(tools::LanguageNames().at(lang));
  return tools::ManPage(tools::Read(source), page.stem(), *spoken.App);
}

std::string Zsh() {
  const Spoken german(tools::Language::German);
  const Spoken english(tools::Language::English);
  return tools::ZshCompletion(*german.App, *english.App);
}

void Make(const std::vector<std::string>& arguments) {
  if (arguments.size() == 4 && arguments[0] == "man") {
    Write(arguments[3], PageOf(arguments[1], arguments[2], arguments[3]));
  } else if (arguments.size() == 2 && arguments[0] == "bash") {
    Write(arguments[1], tools::BashCompletion(*Spoken(tools::Language::English).App));
  } else if (arguments.size() == 2 && arguments[0] == "zsh") {
    Write(arguments[1], Zsh());
  } else {
    throw std::runtime_error("man LANG TEMPLATE PAGE, bash FILE or zsh FILE expected");
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  try {
    Make(arguments);
    return 0;
  } catch (const std::exception& failure) {
    const std::string what = arguments.size() > 2 ? arguments[2] + ": " : "";
    tools::PrintError("ka-tts-pages: " + what + failure.what() + "\n");
  }
  return 1;
}
