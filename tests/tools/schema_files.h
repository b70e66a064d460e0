#ifndef KA_TESTS_TOOLS_SCHEMA_FILES_H
#define KA_TESTS_TOOLS_SCHEMA_FILES_H

#include <string>
#include <vector>

#include "xml_schema.h"

namespace toolstest {

/// Absolute path of a file of the project.
std::string SourcePath(const std::string& name);
/// A file of the project. \throws std::runtime_error if it is missing or empty
std::string Source(const std::string& name);

XmlSchema AnnouncementSchema();
XmlSchema BlockSchema();

/// A right document and a right block that have every element and attribute.
std::string CompleteDocument();
std::string CompleteBlock();

/// The text with its first `part` replaced. \throws std::logic_error if it has none
std::string Replaced(std::string text, const std::string& part, const std::string& other);
/// All parts of a text from a `begin` to the next `end`, both included.
std::vector<std::string> PartsOf(const std::string& text, const std::string& begin,
                                 const std::string& end);

}  // namespace toolstest

#endif
