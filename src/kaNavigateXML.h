#ifndef KA_NAVIGATE_XML_H
#define KA_NAVIGATE_XML_H

#include <libxml++/libxml++.h>

#include <string>
#include <utility>
#include <vector>

#include "kaSuperior.h"

/// Base of every XML document reader: loads one document and offers a small set of navigation
/// calls. Values are plain UTF-8 strings; the XML library's own string type never leaves this
/// class. Nodes belong to the document and stay valid until the reader loads another one or ends.
class CkaNavigateXML : public CkaSuperior {
 public:
  CkaNavigateXML();
  ~CkaNavigateXML() override;
  CkaNavigateXML(const CkaNavigateXML&) = delete;
  CkaNavigateXML& operator=(const CkaNavigateXML&) = delete;

  /// Loads a document with entities substituted. A document from memory comes from the network: it
  /// opens no file, and one whose entities would expand beyond kMaxExpandedXml is refused.
  /// \param source a path, or with `fromMemory` the document itself
  /// \param validate switches validation by the document's DTD on
  /// \return false, without a message, if it cannot be read or is not well-formed.
  bool Initialize(const std::string& source, bool validate, bool fromMemory);
  bool Initialize(char* source, bool validate, bool fromMemory);
  bool Initialize(const char* source, bool validate, bool fromMemory);

  /// Gives the memory of the document back. All of its nodes become invalid.
  void ReleaseDocument();

  /// True from the first document that was loaded, also after a later one failed.
  bool IsInitialized() const;

  /// The nodes that an XPath expression selects from `node`, in document order; none for null.
  xmlpp::NodeSet FindNodes(xmlpp::Node* node, const std::string& xpath) const;

  /// Names of an element's attributes in document order.
  std::vector<std::string> GetAttributeNames(xmlpp::Node* node) const;
  bool AttributeExists(xmlpp::Node* node, const std::string& name) const;

  /// Value of an attribute, "" if the element does not have it. Each backslash followed by the
  /// letter e becomes the escape character, by which documents reach the speech engine's controls.
  std::string GetAttributeValue(xmlpp::Node* node, const char* name) const;
  std::string GetAttributeValue(xmlpp::Node* node, const std::string& name) const;
  /// The leading integer of an attribute's value, 0 if there is none.
  int GetAttributeValueInt(xmlpp::Node* node, const char* name) const;
  int GetAttributeValueInt(xmlpp::Node* node, const std::string& name) const;

  /// Content of the first child node, "" if there is none or it has no text.
  std::string GetTextValue(xmlpp::Node* node) const;
  /// First of all child nodes, white space included; null if there is none.
  xmlpp::Node* GetFirstChild(xmlpp::Node* node) const;
  /// Tag name of an element, "text" for a text node.
  std::string GetElementName(xmlpp::Node* node) const;

  xmlpp::DomParser Parser;
  bool bIsInitialized;

 protected:
  /// Root element of the loaded document. Without one "Erst XML initialisieren" and `ending` go to
  /// standard error and the result is null.
  xmlpp::Node* GetRootNode(const char* ending = "");

  /// Name and value of each attribute of an element, in document order, in one pass: for each of
  /// GetAttributeNames that exists, what GetAttributeValue gives.
  std::vector<std::pair<std::string, std::string>> GetAttributes(xmlpp::Node* node) const;

  /// First child element of `node` called `name`. Null for a null node.
  /// \throws std::out_of_range if there is none, which ends a start-up with such a document.
  xmlpp::Node* GetRequiredChild(xmlpp::Node* node, const char* name) const;
};

/// The leading integer of a text as `atoi` reads it, 0 if there is none; defined for every length.
int LeadingInteger(const std::string& text);

#endif
