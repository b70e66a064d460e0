#ifndef KA_TOOLS_SAMPLE_BLOCKS_H
#define KA_TOOLS_SAMPLE_BLOCKS_H

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "common/station.h"

namespace tools {

/// The most bytes that the server takes of one block: it reads once.
inline constexpr std::size_t kLargestBlock = 11'999;

/// A sample of a data block.
struct SampleBlock {
  std::filesystem::path File;
  std::size_t Size = 0;  ///< bytes up to the end of the last tag: what follows is not needed
  std::vector<std::map<std::string, std::string>> Rows;  ///< values by attribute; none if refused
};

/// The samples of the station: the .xml files in the directory "blocks" beside the announcement
/// document, by name.
std::vector<SampleBlock> SampleBlocks(const Station& station);

}  // namespace tools

#endif
