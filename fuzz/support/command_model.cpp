#include "support/command_model.h"

#include <sys/stat.h>

#include "support/path_model.h"

namespace model {

namespace {

void Run(Outcome& outcome, const Situation& before, const std::string& command) {
  outcome.Commands.push_back(command);
  if (outcome.Commands.size() == before.TakenAfter) outcome.Priority = before.TakenBy;
}

void KillPlayers(Outcome& outcome, const Situation& before) {
  Run(outcome, before, "killall -9 aplay");
  Run(outcome, before, "killall -9 play");
}

void Speak(Outcome& outcome, const Situation& before, const std::string& text) {
  const std::string command = before.SpeakCommand + " \"" + text + "\"";
  outcome.Out += "\n################### speakout #####################\n" + before.SpeakEcho +
                 "\nspeakout: " + text + "\ncmd: " + command + "\n";
  Run(outcome, before, command);
}

void Play(Outcome& outcome, const Situation& before, const std::string& list) {
  if (outcome.Priority != 0) return;
  outcome.Priority = 1;
  for (const std::string& name : PlayListNames(list)) {
    if (outcome.Priority != 1) {
      outcome.PlayMarkerStays = true;
      return;
    }
    const std::string path = before.PlayDirectory + "/" + name + ".wav";
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) continue;
    outcome.Out += "aplay " + path + "\n";
    Run(outcome, before, "aplay " + path);
  }
  if (outcome.Priority == 1) outcome.Priority = 0;
}

}  // namespace

Outcome AfterText(const Situation& before, const std::string& text) {
  Outcome outcome;
  outcome.Priority = before.Priority;
  std::string speech = text;
  if (text.substr(0, 2) == "!u") {
    KillPlayers(outcome, before);
    speech = text.substr(2);
  } else if (before.Priority == 1) {
    return outcome;
  }
  outcome.Priority = 2;
  speech = Before(speech, "///");
  if (!speech.empty()) Speak(outcome, before, speech);
  // A playback that took the device keeps it.
  if (outcome.Priority != 1) outcome.Priority = 0;
  return outcome;
}

Outcome AfterCommand(const Situation& before, const std::string& text) {
  Outcome outcome;
  outcome.Priority = before.Priority;
  const int number = CommandNumber(text);
  outcome.Out = "new cmd: " + text + " " + std::to_string(number) + "\n";
  if (number == 0) Play(outcome, before, Before(text, "///"));
  outcome.Operates = number != 1 && number != 2;
  outcome.Restarts = number == 1;
  if (number == 3) Run(outcome, before, "reboot");
  if (number == 4) {
    const std::string command = "aplay \"" + before.BellFile + "\"";
    outcome.Out += "execute bell " + command + "\n";
    Run(outcome, before, command);
  }
  if (number == 5) KillPlayers(outcome, before);
  return outcome;
}

}  // namespace model
