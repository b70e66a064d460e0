#ifndef KA_FUZZ_CATALOGUE_MODEL_H
#define KA_FUZZ_CATALOGUE_MODEL_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace model {

/// A message catalogue: the rows of two languages, and one class table for both.
class Catalogue {
 public:
  static constexpr std::uint32_t kRows = 101;
  static constexpr std::size_t kBlocks = 15;

  struct Block {
    std::uint32_t Class;
    std::uint32_t First;
    std::uint32_t Count;
  };

  /// Whether a text has anything but white space; what a catalogue of another one says is open.
  static bool HasContent(const std::string& text);

  /// Reads `text` as language `language` (0 or 1). False if it is too short.
  bool Read(std::size_t language, const std::string& text);

  std::string Message(std::size_t language, std::uint32_t classId, std::uint32_t number) const;

  std::string Prefix;
  std::array<std::array<std::string, kRows>, 2> Rows;
  std::vector<Block> Blocks;  ///< kBlocks at most

 private:
  void AddRow(std::uint32_t classId, std::uint32_t row);

  std::uint32_t lastClass_ = 0;
  std::size_t opened_ = 0;
};

}  // namespace model

#endif
