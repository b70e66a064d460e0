#include "Announcement.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
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
  explicit Renderer(CheckedSink& sink) : sink_(sink) {}

  void RequireVoice(const SpeechPiece& piece) {
    if (!synthesiser_) synthesiser_.emplace();
    synthesiser_->RequireVoice(piece.settings.voice);
  }

  void operator()(const SpeechPiece& piece) { synthesiser_->Speak(piece, sink_); }

  void operator()(const AudioPiece& piece) try {
    AudioFile(piece.path).PlayInto(sink_);
  } catch (const FileError& error) {
    ReportWarning(error.what());
  }

  void operator()(const PausePiece& piece) {
    static constexpr std::array<std::int16_t, kSampleRate / 10> kSilence{};
    auto left = static_cast<std::size_t>(piece.length.count() * kSampleRate / 1000);
    while (left > 0) {
      const std::size_t count = std::min(left, kSilence.size());
      sink_.Write(Samples(kSilence).first(count));
      left -= count;
    }
  }

 private:
  CheckedSink& sink_;
  std::optional<Synthesiser> synthesiser_;
};

}  // namespace

void RenderAnnouncement(const Pieces& pieces, CheckedSink& sink) {
  Renderer renderer(sink);
  for (const Piece& piece : pieces) {
    if (const auto* speech = std::get_if<SpeechPiece>(&piece)) renderer.RequireVoice(*speech);
  }
  for (const Piece& piece : pieces) {
    sink.Check();
    std::visit(renderer, piece);
  }
}

}  // namespace engine
