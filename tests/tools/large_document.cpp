#include "large_document.h"

#include <fmt/format.h>

namespace toolstest {

namespace {

std::string References(std::size_t count) {
  std::string text = R"(  <References>
    <Language name="de"><Voice sex="male">de</Voice></Language>
    <Language name="en"><Voice sex="male">en-gb</Voice></Language>
    <Language name="all">
)";
  for (std::size_t i = 0; i < count; ++i)
    text += fmt::format("      <Element id=\"element{}\" trait=\"temp\"/>\n", i);
  return text + "    </Language>\n  </References>\n";
}

std::string SpokenLanguage(const char* name, std::size_t count) {
  std::string text = fmt::format("    <Language name=\"{}\">\n", name);
  text += "      <Announcement position=\"0\">\n";
  for (std::size_t i = 0; i < count; ++i) {
    text += fmt::format(
        "        <Condition name=\"both{0}\"><Speech id=\"element{0}\" prefix=\" "
        "\"/></Condition>\n",
        i);
  }
  return text + R"(      </Announcement>
      <Announcement position="1" positionMax="5">
        <Speech id="element0"/>
      </Announcement>
    </Language>
)";
}

std::string Format(std::size_t count) {
  std::string text = "    <RBLFormat minrows=\"1\" maxrows=\"6\">\n";
  for (std::size_t i = 0; i < count; ++i)
    text += fmt::format("      <Attribute name=\"a{0}\" assignto=\"element{0}\"/>\n", i);
  return text + "    </RBLFormat>\n";
}

std::string CaseElements(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += fmt::format(
        "    <Case id=\"has{0}\" strlen=\"a{0}\" operator=\"gt\" value=\"0\"/>\n"
        "    <Case id=\"both{0}\"><Case ref=\"has{0}\"/><Case ref=\"{1}\"/></Case>\n",
        i, i == 0 ? "has0" : fmt::format("both{}", i - 1));
  }
  return text;
}

}  // namespace

std::string LargeDocument(std::size_t count) {
  return "<Station>\n" + References(count) + "  <Assembly>\n" + SpokenLanguage("de", count) +
         SpokenLanguage("en", count) + Format(count) + CaseElements(count) +
         "  </Assembly>\n</Station>\n";
}

}  // namespace toolstest
