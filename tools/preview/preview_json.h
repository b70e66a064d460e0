#ifndef KA_TOOLS_PREVIEW_JSON_H
#define KA_TOOLS_PREVIEW_JSON_H

#include <nlohmann/json.hpp>
#include <string>

#include "preview/preview.h"

namespace tools {

/// A preview for programs. \param file the block's name
nlohmann::ordered_json JsonOf(const BlockPreview& preview, const std::string& file,
                              const Preview& source);

/// Prints JSON on several lines. Bytes that are no UTF-8 become replacement characters; texts with
/// such bytes have all of them in "hex".
std::string Dump(const nlohmann::ordered_json& json);

}  // namespace tools

#endif
