#ifndef KA_TOOLS_WAVE_FILE_H
#define KA_TOOLS_WAVE_FILE_H

#include <string>

namespace tools {

/// What an audio file is.
enum class WaveKind {
  Pcm,         ///< plain samples, which every player takes
  Empty,       ///< no byte, or no sample
  Compressed,  ///< a .wav file of another coding
  Other        ///< no .wav file
};

struct WaveFile {
  WaveKind Kind = WaveKind::Other;
  int Format = 0;           ///< number of the coding; of a .wav file
  bool bTruncated = false;  ///< it ends before its samples do
  std::string Content;      ///< the first printable characters of another file, e.g. "OggS"
};

/// Reads the head of an audio file, which must be readable.
WaveFile InspectWave(const std::string& path);

}  // namespace tools

#endif
