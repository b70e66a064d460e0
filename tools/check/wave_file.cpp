#include "check/wave_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <string_view>

namespace tools {

namespace {

constexpr int kPcm = 1;
/// The coding's number then stands in the first two bytes of a longer description.
constexpr int kExtensible = 0xFFFE;
constexpr std::size_t kSubformat = 24;

std::uint32_t NumberAt(std::string_view bytes, std::size_t at, std::size_t size) {
  std::uint32_t number = 0;
  for (std::size_t i = size; i > 0; --i)
    number = number << 8U | static_cast<unsigned char>(bytes[at + i - 1]);
  return number;
}

/// As many bytes as there are, at most `size`.
std::string ReadBytes(std::istream& stream, std::size_t size) {
  std::string bytes(size, '\0');
  stream.read(bytes.data(), static_cast<std::streamsize>(size));
  bytes.resize(static_cast<std::size_t>(stream.gcount()));
  return bytes;
}

std::string PrintableStart(std::string_view bytes) {
  const auto end = std::find_if(bytes.begin(), bytes.end(),
                                [](unsigned char c) { return std::isprint(c) == 0; });
  return {bytes.begin(), end};
}

int CodingOf(std::string_view description) {
  if (description.size() < 2) return 0;
  const auto format = static_cast<int>(NumberAt(description, 0, 2));
  if (format != kExtensible || description.size() < kSubformat + 2) return format;
  return static_cast<int>(NumberAt(description, kSubformat, 2));
}

/// Whether there are fewer bytes from `begin` on than `size`. Programs that write to a pipe cannot
/// know the size and state one of two gigabytes or more.
bool IsTruncated(std::istream& stream, std::istream::pos_type begin, std::uint32_t size) {
  constexpr std::uint32_t kUnknownSize = 0x7FFF0000;
  stream.clear();
  stream.seekg(0, std::ios::end);
  return size < kUnknownSize && stream.tellg() - begin < std::streamoff{size};
}

/// Reads the chunks up to the samples.
WaveFile InspectChunks(std::istream& stream) {
  constexpr std::size_t kLongestDescription = 64;
  WaveFile wave;
  while (true) {
    const std::string head = ReadBytes(stream, 8);
    if (head.size() < 8) break;
    const std::uint32_t size = NumberAt(head, 4, 4);
    const std::istream::pos_type begin = stream.tellg();
    if (head.starts_with("fmt "))
      wave.Format = CodingOf(ReadBytes(stream, std::min<std::size_t>(size, kLongestDescription)));
    if (head.starts_with("data")) {
      const bool hasSamples = size > 0 && !ReadBytes(stream, 1).empty();
      wave.Kind = wave.Format != kPcm ? WaveKind::Compressed
                  : hasSamples        ? WaveKind::Pcm
                                      : WaveKind::Empty;
      wave.bTruncated = IsTruncated(stream, begin, size);
      return wave;
    }
    stream.clear();
    stream.seekg(begin + std::istream::off_type{size} + std::istream::off_type{size % 2});
  }
  wave.Kind = WaveKind::Empty;
  return wave;
}

}  // namespace

WaveFile InspectWave(const std::string& path) {
  constexpr std::size_t kHead = 12;
  std::ifstream stream(path, std::ios::binary);
  const std::string head = ReadBytes(stream, kHead);
  if (head.empty()) return {WaveKind::Empty, 0, false, ""};
  if (head.size() == kHead && head.starts_with("RIFF") && head.ends_with("WAVE"))
    return InspectChunks(stream);
  return {WaveKind::Other, 0, false, PrintableStart(head)};
}

}  // namespace tools
