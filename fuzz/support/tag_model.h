#ifndef KA_FUZZ_TAG_MODEL_H
#define KA_FUZZ_TAG_MODEL_H

#include <string>

#include "TagParser.h"

namespace model {

/// Bytes as speakable text.
std::string CleanedText(const std::string& bytes);

/// A text as pieces, and how many warnings it gives.
struct SpokenText {
  engine::Pieces Pieces;
  std::size_t Warnings = 0;
};
SpokenText ReadTags(const std::string& bytes, const std::string& voice);

}  // namespace model

#endif
