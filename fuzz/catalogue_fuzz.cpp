// A message catalogue: CLASS NUMBER (4 bytes each) PREFIX 0 TEXT 0 TEXT. Both texts become a
// language, and every message of both, the one asked for, and some that are not there are looked
// up.

#include "kaMessageTxt.h"
#include "support/catalogue_model.h"
#include "support/expect.h"
#include "support/input.h"
#include "support/output.h"
#include "target.h"

namespace {

using fuzz::ExpectEqual;
using model::Catalogue;

/// Empty entries of the server's class table hold this id, which no class has.
constexpr std::uint32_t kNoClass = 0xFFFFFFFF;

std::uint32_t TakeNumber(fuzz::Input& input) {
  std::uint32_t number = 0;
  for (int i = 0; i < 4; ++i)
    number = number << 8U | input.TakeByte();
  return number;
}

/// Reads a text as a file of that contents is read: it is parsed twice.
bool Read(CkaMessageTxt& catalogue, int language, const std::string& text) {
  catalogue.strLanguageText[static_cast<std::size_t>(language)] = text;
  return catalogue.ParseLanguageData(language) && catalogue.ParseLanguageData(language);
}

void CheckTables(const CkaMessageTxt& catalogue, const Catalogue& expected) {
  fuzz::Expect("rows of both languages", catalogue.strLanguageTable == expected.Rows);
  for (std::size_t i = 0; i < expected.Blocks.size(); ++i) {
    ExpectEqual("class", catalogue.ClassIDPos[i].nClassID, expected.Blocks[i].Class);
    ExpectEqual("first row", catalogue.ClassIDPos[i].nIDPos, expected.Blocks[i].First);
    ExpectEqual("rows", catalogue.ClassIDPos[i].nIDCount, expected.Blocks[i].Count);
  }
}

void CheckMessage(const CkaMessageTxt& catalogue, const Catalogue& expected, std::size_t language,
                  std::uint32_t classId, std::uint32_t number) {
  if (classId == kNoClass) return;
  ExpectEqual("message", catalogue.GiveOutAsString(static_cast<int>(language), classId, number),
              expected.Message(language, classId, number));
}

void CheckMessages(const CkaMessageTxt& catalogue, const Catalogue& expected) {
  std::size_t language = 0;
  for (const Catalogue::Block& block : expected.Blocks) {
    CheckMessage(catalogue, expected, language, block.Class, block.Count - 1);
    language = 1 - language;
    CheckMessage(catalogue, expected, language, block.Class, block.Count);
  }
}

void CheckPrinted(CkaMessageTxt& catalogue, const Catalogue& expected, std::uint32_t classId,
                  std::uint32_t number) {
  if (classId == kNoClass) return;
  for (int language = 0; language < 2; ++language) {
    const std::string text = expected.Message(static_cast<std::size_t>(language), classId, number);
    ExpectEqual("characters", catalogue.GiveOutAsPChar(language, classId, number), text.c_str());
    const fuzz::Output output;
    catalogue.Cout(language, classId, number);
    catalogue.Cerr(language, classId, number);
    ExpectEqual("printed", output.Out(), text + "\n");
    ExpectEqual("reported", output.Err(), text + "\n");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::uint32_t classId = TakeNumber(input);
  const std::uint32_t number = TakeNumber(input);
  const std::string prefix = input.TakePart();
  const std::string texts[] = {input.TakePart(), input.Rest()};

  CkaMessageTxt catalogue;
  Catalogue expected;
  catalogue.SetPrefix(prefix);
  expected.Prefix = prefix;
  bool isOpen = false;
  for (int language = 0; language < 2; ++language) {
    const std::string& text = texts[language];
    ExpectEqual("read", Read(catalogue, language, text),
                expected.Read(static_cast<std::size_t>(language), text));
    if (text.size() >= 6 && !Catalogue::HasContent(text)) isOpen = true;
  }
  if (isOpen) {
    static_cast<void>(catalogue.GiveOutAsString(0, classId, number));
    return 0;
  }
  CheckTables(catalogue, expected);
  CheckMessages(catalogue, expected);
  CheckPrinted(catalogue, expected, classId, number);
  static_cast<void>(catalogue.GiveOutAsString(static_cast<int>(number), classId, number));
  return 0;
}
