#ifndef KA_TOOLS_PREVIEW_TEXT_H
#define KA_TOOLS_PREVIEW_TEXT_H

#include <filesystem>
#include <string>

#include "common/language.h"
#include "preview/preview.h"

namespace tools {

/// How previews are printed for people.
struct PreviewStyle {
  Language Lang = Language::English;
  bool bColored = false;
  std::filesystem::path Root;  ///< names of files below it are printed relative to it
};

/// The texts of a block, with their explanations if they have any, and what the server refuses.
/// \param file the block's name, as it is printed
std::string TextOf(const BlockPreview& preview, const std::string& file, const Preview& source,
                   const PreviewStyle& style);

/// Why the block is refused or given up, one line for each reason; none if it is not.
std::vector<std::string> RefusalLines(const BlockPreview& preview, const std::string& file,
                                      const Preview& source, Language language);

/// What a case is and whether it holds, without those that it combines.
std::string CaseLine(const CaseReason& reason, Language language);

}  // namespace tools

#endif
