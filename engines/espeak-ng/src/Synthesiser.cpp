#include "Synthesiser.h"

#include <espeak-ng/espeak_ng.h>

#include <array>
#include <cstddef>
#include <exception>
#include <utility>

#include "Failure.h"
#include "TextCleaner.h"

namespace engine {
namespace {

constexpr int kBufferMs = 60;

// Where the library's callback, which has no argument for it, writes to; set while speaking.
struct Target {
  SampleSink* sink = nullptr;
  std::exception_ptr error;
};

Target* target = nullptr;

constexpr int kContinue = 0;
constexpr int kStop = 1;

// No exception may pass through the library: it is kept until the library has returned.
int TakeSamples(short* samples, int count, espeak_EVENT* /*events*/) try {
  if (samples == nullptr || count <= 0) return kContinue;
  target->sink->Write(Samples(samples, static_cast<std::size_t>(count)));
  return kContinue;
} catch (...) {
  target->error = std::current_exception();
  return kStop;
}

std::string Describe(espeak_ng_STATUS status) {
  std::array<char, 256> text{};
  espeak_ng_GetStatusCodeMessage(status, text.data(), text.size());
  return text.data();
}

void Require(espeak_ng_STATUS status, const std::string& action) {
  if (status != ENS_OK) throw Failure("espeak-ng cannot " + action + ": " + Describe(status));
}

std::string DataDirectory() {
  const char* path = nullptr;
  espeak_Info(&path);
  return path;
}

}  // namespace

Synthesiser::Synthesiser() {
  espeak_ng_InitializePath(nullptr);
  espeak_ng_ERROR_CONTEXT context = nullptr;
  const espeak_ng_STATUS status = espeak_ng_Initialize(&context);
  espeak_ng_ClearErrorContext(&context);
  Require(status, "start");
  Require(espeak_ng_InitializeOutput(ENOUTPUT_MODE_SYNCHRONOUS, kBufferMs, nullptr), "start");
  espeak_SetSynthCallback(TakeSamples);
  voices_.emplace(DataDirectory());
}

void Synthesiser::RequireVoice(const std::string& name) {
  if (identifiers_.contains(name)) return;
  const std::optional<std::string> identifier = voices_->Find(name);
  if (!identifier) throw Failure("no voice " + InQuotes(name));
  identifiers_.emplace(name, *identifier);
}

void Synthesiser::Speak(const SpeechPiece& piece, SampleSink& sink) {
  SelectVoice(piece.settings.voice);
  Require(espeak_ng_SetParameter(espeakRATE, piece.settings.rateWordsPerMinute, 0), "set the rate");
  Require(espeak_ng_SetParameter(espeakPITCH, piece.settings.pitch, 0), "set the pitch");
  Require(espeak_ng_SetParameter(espeakVOLUME, piece.settings.volume, 0), "set the volume");
  Target here{&sink, nullptr};
  target = &here;
  const espeak_ng_STATUS status =
      espeak_ng_Synthesize(piece.text.c_str(), piece.text.size() + 1, 0, POS_CHARACTER, 0,
                           espeakCHARS_UTF8, nullptr, nullptr);
  target = nullptr;
  if (here.error) std::rethrow_exception(here.error);
  Require(status, "speak");
}

void Synthesiser::SelectVoice(const std::string& name) {
  if (name == selectedVoice_) return;
  RequireVoice(name);
  const std::string& identifier = identifiers_.at(name);
  Require(espeak_ng_SetVoiceByName(identifier.c_str()), "load the voice " + InQuotes(name));
  selectedVoice_ = name;
}

std::string Synthesiser::Version() {
  return espeak_Info(nullptr);
}

}  // namespace engine
