#ifndef KA_TESTS_UNIT_HOSTILE_DOCUMENTS_H
#define KA_TESTS_UNIT_HOSTILE_DOCUMENTS_H

#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "kaDescriptor.h"

/// \file
/// Documents as an attacker sends them, and ways to see what they did.

struct NamedDocument {
  std::string Name;
  std::string Text;
};

inline std::ostream& operator<<(std::ostream& stream, const NamedDocument& document) {
  return stream << document.Name;
}

inline std::string Repeated(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i)
    result += text;
  return result;
}

inline std::string WithSubset(const std::string& subset, const std::string& body) {
  return "<!DOCTYPE rbl [" + subset + "]>" + body;
}

/// Entities e0 to e9, each ten times the one before; e0 is `seed`.
inline std::string NestedEntities(const std::string& seed) {
  std::string subset = "<!ENTITY e0 \"" + seed + "\">";
  for (int i = 1; i < 10; ++i) {
    subset += "<!ENTITY e" + std::to_string(i) + " \"" +
              Repeated("&e" + std::to_string(i - 1) + ";", 10) + "\">";
  }
  return subset;
}

inline std::string NestedParameterEntities() {
  std::string subset = "<!ENTITY % e0 '<!-- " + std::string(50, 'x') + " -->'>";
  for (int i = 1; i < 10; ++i) {
    subset += "<!ENTITY % e" + std::to_string(i) + " '" +
              Repeated("&#37;e" + std::to_string(i - 1) + ";", 10) + "'>";
  }
  return subset + "%e9;";
}

/// Small documents (each fits into one block) that would expand to megabytes or gigabytes.
inline std::vector<NamedDocument> EntityBombs() {
  const std::string large(4000, 'x');
  return {
      {"NestedInContent", WithSubset(NestedEntities("lol"), "<rbl><row/>&e9;</rbl>")},
      {"NestedInAnAttribute", WithSubset(NestedEntities("lol"), "<rbl><row a='&e9;'/></rbl>")},
      {"QuadraticInContent",
       WithSubset("<!ENTITY e '" + large + "'>", "<rbl>" + Repeated("&e;", 2000) + "</rbl>")},
      {"QuadraticInAttributes", WithSubset("<!ENTITY e '" + large + "'>",
                                           "<rbl>" + Repeated("<row a='&e;'/>", 500) + "</rbl>")},
      {"DefaultAttributes", WithSubset("<!ATTLIST row a CDATA '" + large + "'>",
                                       "<rbl>" + Repeated("<row/>", 1000) + "</rbl>")},
      {"DefaultAttributesOfElementsInAnEntity",
       WithSubset("<!ATTLIST row a CDATA '" + std::string(2000, 'x') + "'><!ENTITY rows '" +
                      Repeated("<row/>", 100) + "'>",
                  "<rbl>" + Repeated("&rows;", 20) + "</rbl>")},
      {"DefaultNamespaces", WithSubset("<!ATTLIST row xmlns CDATA '" + large + "'>",
                                       "<rbl>" + Repeated("<row/>", 1000) + "</rbl>")},
      {"OneEntityInADefaultAttribute",
       WithSubset("<!ENTITY e '" + large + "'><!ATTLIST row a CDATA '&e;'>",
                  "<rbl>" + Repeated("<row/>", 1000) + "</rbl>")},
      {"DefaultAttributesInNestedEntities",
       WithSubset(
           "<!ATTLIST row a CDATA '" + std::string(500, 'x') + "'>" + NestedEntities("<row/>"),
           "<rbl>&e4;</rbl>")},
      {"EntityInADefaultAttribute",
       WithSubset(NestedEntities("lol") + "<!ATTLIST row a CDATA '&e9;'>", "<rbl><row/></rbl>")},
      {"EmptyElementsInEntities", WithSubset(NestedEntities("<row/>"), "<rbl>&e9;</rbl>")},
      {"EmptyEntities", WithSubset(NestedEntities(""), "<rbl>&e9;</rbl>")},
      {"ElementsWithAttributesInEntities",
       WithSubset(NestedEntities("<row a='1' b='2'/>"), "<rbl>&e9;</rbl>")},
      {"CommentsInEntities", WithSubset(NestedEntities("<!--x-->"), "<rbl>&e9;</rbl>")},
      {"CharacterReferencesInEntities", WithSubset(NestedEntities("&#x41;"), "<rbl>&e9;</rbl>")},
      {"ParameterEntities", WithSubset(NestedParameterEntities(), "<rbl><row/></rbl>")},
  };
}

/// Sees whether a file is opened or read while it lives.
class FileWatch {
 public:
  explicit FileWatch(const std::string& path)
      : events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
        works_(inotify_add_watch(events_.Get(), path.c_str(), IN_OPEN | IN_ACCESS) >= 0) {}

  bool Works() const { return works_; }
  /// Whether it was since the last question.
  bool WasTouched() const {
    alignas(inotify_event) std::array<char, 4096> buffer{};
    bool touched = false;
    while (read(events_.Get(), buffer.data(), buffer.size()) > 0)
      touched = true;
    return touched;
  }

 private:
  kaDescriptor events_;
  bool works_;
};

/// The most memory that the process ever had, in megabytes.
inline long PeakMegabytes() {
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

/// Far below what any of the bombs would take, far above what a small document does.
constexpr long kModestMegabytes = 100;

#endif
