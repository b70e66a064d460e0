// A message to the text port and to the command port: SITUATION TEXT. Bits of the byte SITUATION:
// 0 and 1 who has the device, 2 to 4 after how many commands it is taken, 5 by whom: a playback or
// a text.

#include <cstdio>

#include "ka-tts-server.h"
#include "kaTTSServer.h"
#include "support/command_model.h"
#include "support/expect.h"
#include "support/input.h"
#include "support/output.h"
#include "support/station.h"
#include "target.h"

namespace {

using fuzz::ExpectEqual;

const model::Situation* gSituation = nullptr;

void TakeDevice(std::size_t commands) {
  if (commands == gSituation->TakenAfter) fuzz::TheServer().Priority = gSituation->TakenBy;
}

const std::string& PlayMarker() {
  static const auto* path = new std::string(fuzz::TheDirectory() + "/play/playblock");
  return *path;
}

model::Situation PrepareStation() {
  CkaTTSServer& server = fuzz::TheServer();
  server.kaConfig.ProfValues = {
      {"rootDir", "/opt/tts/"}, {"engineName", "voxeng"}, {"speakoutvoxeng", "./speak -v de --"}};
  server.BellFile = "/opt/sounds/bell.wav";
  server.SpeechBuilder.PlayAnnounce = fuzz::TheDirectory() + "/play";
  server.SpeechBuilder.PlayBlock = PlayMarker();
  server.SpeechBuilder.SaveBlock = fuzz::TheDirectory() + "/play/saveblock";
  for (const char* name : {"play/de0.wav", "play/en0.wav", "play/.wav", "play/ä/1.wav"})
    fuzz::WriteFile(name, "");

  model::Situation situation;
  situation.SpeakCommand = "cd /opt/tts/voxeng; ./speak -v de --";
  situation.SpeakEcho =
      "GetValueString: rootDir=/opt/tts/\nGetValueString: engineName=voxeng\n"
      "GetValueString: speakoutvoxeng=./speak -v de --\n";
  situation.BellFile = server.BellFile;
  situation.PlayDirectory = server.SpeechBuilder.PlayAnnounce;
  return situation;
}

void CheckOutcome(const model::Outcome& expected, const fuzz::CommandRecord& record,
                  const fuzz::Output& output) {
  ExpectEqual("commands", record.Commands(), expected.Commands);
  ExpectEqual("priority", fuzz::TheServer().Priority, expected.Priority);
  ExpectEqual("printed", output.Out(), expected.Out);
  ExpectEqual("reported", output.Err(), "");
  ExpectEqual("operates", ServerOperate, expected.Operates);
  ExpectEqual("restarts", ServerRestart, expected.Restarts);
  ExpectEqual("play marker", std::remove(PlayMarker().c_str()) == 0, expected.PlayMarkerStays);
}

void CheckMessage(kaCallBack callback, const model::Situation& situation, std::string text,
                  const model::Outcome& expected) {
  CkaTTSServer& server = fuzz::TheServer();
  server.Priority = situation.Priority;
  ServerOperate = true;
  ServerRestart = false;
  const fuzz::CommandRecord record(TakeDevice);
  const fuzz::Output output;
  ExpectEqual("answer", callback(static_cast<int>(text.size()), text.data(), &server), true);
  CheckOutcome(expected, record, output);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto* station = new model::Situation(PrepareStation());
  fuzz::Input input(data, size);
  const unsigned byte = input.TakeByte();
  const std::string text = input.TakePart();

  model::Situation situation = *station;
  situation.Priority = static_cast<std::int32_t>(byte & 3U);
  situation.TakenAfter = byte >> 2U & 7U;
  situation.TakenBy = (byte >> 5U & 1U) == 0 ? CkaTTSServer::kSpeaking : CkaTTSServer::kPlaying;
  gSituation = &situation;
  CheckMessage(CallBackOnClientSentInput, situation, text, model::AfterText(situation, text));
  CheckMessage(CallBackOnReceiveCommand, situation, text, model::AfterCommand(situation, text));
  return 0;
}
