#include "doctor/speech_state.h"

#include <algorithm>

#include "check/file_access.h"
#include "check/wave_file.h"
#include "doctor/examination.h"

namespace tools {

namespace {

/// The engine and the shell that starts it have the names of both files in their command lines.
bool IsBeingMade(const Speech& speech, const ProcessTable& table) {
  return std::any_of(table.All().begin(), table.All().end(), [&speech](const Process& process) {
    return process.Mentions(speech.TextFile);
  });
}

}  // namespace

Bilingual InWords(SpeechState state) {
  switch (state) {
    case SpeechState::Missing:
      return {"nicht da", "missing"};
    case SpeechState::Empty:
      return {"leer", "empty"};
    case SpeechState::NoWave:
      return {"keine .wav-Datei", "no .wav file"};
    case SpeechState::Truncated:
      return {"abgeschnitten", "cut off"};
    case SpeechState::Outdated:
      return {"älter als ihr Text", "older than its text"};
    case SpeechState::Good:
      break;
  }
  return {"in Ordnung", "good"};
}

SpeechState ContentOf(const std::string& waveFile) {
  if (!StateOf(waveFile)) return SpeechState::Missing;
  if (!IsReadableFile(waveFile)) return SpeechState::Good;
  const WaveFile wave = InspectWave(waveFile);
  if (wave.Kind == WaveKind::Empty) return SpeechState::Empty;
  if (wave.Kind == WaveKind::Other) return SpeechState::NoWave;
  return wave.bTruncated ? SpeechState::Truncated : SpeechState::Good;
}

Speech LookAt(const std::string& textFile, const std::string& waveFile) {
  Speech speech{textFile, waveFile, SpeechState::Good, StateOf(textFile), StateOf(waveFile)};
  speech.State = ContentOf(waveFile);
  const bool isOlder =
      speech.Text && speech.Wave && IsEarlier(speech.Wave->Modified, speech.Text->Modified);
  if (speech.State == SpeechState::Good && isOlder) speech.State = SpeechState::Outdated;
  return speech;
}

std::vector<Speech> LeftAlone(std::vector<Speech> speeches) {
  static_cast<void>(HoldsOn([&speeches] {
    const ProcessTable table = ProcessTable::Read();
    std::erase_if(speeches, [&table](const Speech& speech) {
      return IsBeingMade(speech, table) || LookAt(speech.TextFile, speech.WaveFile) != speech;
    });
    return !speeches.empty();
  }));
  return speeches;
}

}  // namespace tools
