#include "check/sample_blocks.h"

#include <algorithm>
#include <system_error>

#include "check/file_access.h"
#include "kaRBLDataContent.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

SampleBlock ReadBlock(const fs::path& file) {
  SampleBlock block;
  block.File = file;
  const std::string bytes = Read(file);
  block.Size = bytes.rfind('>') + 1;
  Silently([&] {
    CkaRBLDataContent content;
    if (!content.Initialize(bytes, false, true)) return;
    content.ReadContent();
    for (const auto& row : content.Rows) {
      auto& values = block.Rows.emplace_back();
      for (const auto& value : row.Values)
        values.emplace(value.Name, value.Value);
    }
  });
  return block;
}

}  // namespace

std::vector<SampleBlock> SampleBlocks(const Station& station) {
  std::vector<SampleBlock> blocks;
  std::error_code none;
  const fs::path directory = fs::path(station.Document()).parent_path() / "blocks";
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, none)) {
    if (entry.path().extension() == ".xml" && IsReadableFile(entry.path().string()))
      blocks.push_back(ReadBlock(entry.path()));
  }
  std::sort(blocks.begin(), blocks.end(),
            [](const SampleBlock& a, const SampleBlock& b) { return a.File < b.File; });
  return blocks;
}

}  // namespace tools
