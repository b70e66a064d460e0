#include "schema_files.h"

#include <stdexcept>

#include "support/temp_dir.h"

namespace toolstest {

std::string SourcePath(const std::string& name) {
  return std::string(KA_SOURCE_DIR "/") + name;
}

std::string Source(const std::string& name) {
  std::string text = support::ReadFile(SourcePath(name));
  if (text.empty()) throw std::runtime_error(name + " is missing");
  return text;
}

XmlSchema AnnouncementSchema() {
  return XmlSchema(SourcePath("schema/announcements.xsd"));
}

XmlSchema BlockSchema() {
  return XmlSchema(SourcePath("schema/datablock.xsd"));
}

std::string CompleteDocument() {
  return Source("tests/tools/fixtures/schema/station.xml");
}

std::string CompleteBlock() {
  return Source("tests/tools/fixtures/schema/block.xml");
}

std::string Replaced(std::string text, const std::string& part, const std::string& other) {
  const auto at = text.find(part);
  if (at == std::string::npos) throw std::logic_error("nothing to replace: " + part);
  return text.replace(at, part.size(), other);
}

std::vector<std::string> PartsOf(const std::string& text, const std::string& begin,
                                 const std::string& end) {
  std::vector<std::string> parts;
  for (auto at = text.find(begin); at != std::string::npos; at = text.find(begin, at + 1)) {
    const auto last = text.find(end, at);
    if (last != std::string::npos) parts.push_back(text.substr(at, last + end.size() - at));
  }
  return parts;
}

}  // namespace toolstest
