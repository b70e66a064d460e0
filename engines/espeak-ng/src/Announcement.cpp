#include "Announcement.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <variant>

#include "AudioFile.h"
#include "RegularFile.h"
#include "Report.h"
#include "Synthesiser.h"

namespace engine {
namespace {

// Renders pieces one after another; espeak-ng is started only for texts with speech.
class Renderer {
 public:
  Renderer(const Levelling& levelling, CheckedSink& sink) : sink_(sink), speech_(sink, levelling) {}

  void RequireVoice(const SpeechPiece& piece) {
    if (!synthesiser_) synthesiser_.emplace();
    synthesiser_->RequireVoice(piece.settings.voice);
  }

  void operator()(const SpeechPiece& piece) {
    if (piece.settings.voice != lastVoice_) speech_.Finish();
    lastVoice_ = piece.settings.voice;
    if (!speech_.IsOn()) return synthesiser_->Speak(piece, speech_);
    SpeechPiece levelled = piece;
    levelled.settings.volume = kNormalVolume;
    speech_.SetVolume(static_cast<double>(piece.settings.volume) / kNormalVolume);
    synthesiser_->Speak(levelled, speech_);
  }

  void operator()(const AudioPiece& piece) try {
    Finish();
    AudioFile(piece.path).PlayInto(sink_);
  } catch (const FileError& error) {
    ReportWarning(error.what());
  }

  void operator()(const PausePiece& piece) {
    static constexpr std::array<std::int16_t, kSampleRate / 10> kSilence{};
    auto left = static_cast<std::size_t>(piece.length.count() * kSampleRate / 1000);
    while (left > 0) {
      const std::size_t count = std::min(left, kSilence.size());
      speech_.Write(Samples(kSilence).first(count));
      left -= count;
    }
  }

  void Finish() { speech_.Finish(); }

 private:
  CheckedSink& sink_;
  Leveller speech_;
  std::string lastVoice_;
  std::optional<Synthesiser> synthesiser_;
};

}  // namespace

void RenderAnnouncement(const Pieces& pieces, const Levelling& levelling, CheckedSink& sink) {
  Renderer renderer(levelling, sink);
  for (const Piece& piece : pieces) {
    if (const auto* speech = std::get_if<SpeechPiece>(&piece)) renderer.RequireVoice(*speech);
  }
  for (const Piece& piece : pieces) {
    sink.Check();
    std::visit(renderer, piece);
  }
  renderer.Finish();
}

}  // namespace engine
