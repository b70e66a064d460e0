#include "check/rule_groups.h"

namespace tools {

namespace {

constexpr Rule kUnreadable = {
    .Id = "document-unreadable",
    .Level = Severity::Error,
    .Title = {"Das Ansagedokument kann nicht gelesen werden",
              "The announcement document cannot be read"},
    .Problem = {"das Ansagedokument kann nicht gelesen werden{0}",
                "the announcement document cannot be read{0}"},
    .Effect = {"Er meldet nichts und öffnet keinen Port.", "It says nothing and opens no port."},
    .Advice = {"Das Dokument muss es geben (Schlüssel speechformat), und es muss wohlgeformtes XML "
               "sein.",
               "The document must exist (key speechformat) and be well-formed XML."},
    .Explanation = {
        "Fehlt die Datei, die der Schlüssel speechformat der Konfiguration nennt, oder ist sie "
        "kein "
        "wohlgeformtes XML, so läuft der Server, öffnet aber keinen Port, und nichts meldet den "
        "Grund.",
        "If the file that the configuration's key speechformat names is missing or no well-formed "
        "XML, the server runs but opens no port, and nothing tells the reason."}};

constexpr Rule kLastNode = {
    .Id = "condition-last-node",
    .Level = Severity::Error,
    .Title = {"Ein Speech oder Condition ist der letzte Knoten seines Announcement",
              "A Speech or Condition is the very last node of its Announcement"},
    .Problem = {"<{0}> steht unmittelbar vor </Announcement>",
                "<{0}> stands directly before </Announcement>"},
    .Effect =
        {"Er liest den letzten Knoten einer Ansage nicht: Was hier steht, wird nie gesprochen.",
         "It does not read the last node of an announcement: what stands here is never "
         "spoken."},
    .Advice = {"einen Zeilenumbruch oder ein Leerzeichen zwischen dieses Element und "
               "</Announcement>",
               "a line break or a blank between this element and </Announcement>"},
    .Explanation = {
        "Der Server sieht sich von einem Announcement jeden Knoten an außer dem letzten. "
        "Gewöhnlich "
        "ist das der Leerraum vor </Announcement>; auch ein Kommentar genügt. Steht aber ein "
        "Speech "
        "oder Condition unmittelbar davor, so fehlt diese Phrase ohne Meldung in jedem Text.",
        "The server looks at every node of an Announcement but the last. Usually that is the white "
        "space in front of </Announcement>; a comment will do as well. A Speech or Condition that "
        "stands directly before it is missing in every text, without a message."}};

constexpr Rule kRules[] = {kUnreadable, kLastNode};

void CheckReadable(const DocumentError& failure, Report& report) {
  const std::string reason = failure.Reason().empty() ? "" : ": " + failure.Reason();
  AddFinding(report, kUnreadable, {failure.File(), failure.At().Line, failure.At().Column}, reason);
}

void CheckLastNode(const Document& document, const Element& announcement, Report& report) {
  if (announcement.Children.empty()) return;
  const Element& last = *announcement.Children.back();
  // A phrase is taken by its name alone, whatever its namespace.
  const bool isRead = last.Name == "Speech" || last.Name == "Condition";
  if (!last.bLastNode || !isRead) return;
  AddFinding(report, kLastNode, {document.File(), last.At.Line, last.At.Column}, last.Name);
}

void Check(const CheckInput& input, Report& report) {
  if (input.Failure != nullptr) CheckReadable(*input.Failure, report);
  if (input.Document == nullptr) return;
  for (const Element* announcement : input.Document->Announcements())
    CheckLastNode(*input.Document, *announcement, report);
}

}  // namespace

RuleGroup DocumentRules() {
  return {{"Das Dokument", "The document"}, kRules, Check};
}

}  // namespace tools
