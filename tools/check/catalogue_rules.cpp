#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "check/file_access.h"
#include "check/rule_groups.h"
#include "check/sent_messages.h"
#include "kaMessageTxt.h"

namespace tools {

namespace {

constexpr Rule kMissing = {
    .Id = "catalogue-missing",
    .Level = Severity::Warning,
    .Title = {"Ein Meldungskatalog fehlt", "A message catalogue is missing"},
    .Problem = {"der Meldungskatalog fehlt oder hat keine Zeile",
                "the message catalogue is missing or has no row"},
    .Effect = {"Er druckt \"Meldungsfehler!!\" oder die Meldungen der anderen Sprache.",
               "It prints \"Meldungsfehler!!\" or the messages of the other language."},
    .Advice = {"die mitgelieferte Datei messages/{0}", "the shipped file messages/{0}"},
    .Explanation = {
        "Meldungen stehen in errDE.csv, errEN.csv, stdDE.csv und stdEN.csv im Verzeichnis "
        "messages. "
        "Eine Datei von weniger als sechs Bytes gilt als fehlend. Fehlt die deutsche, so nimmt die "
        "englische ihren Platz ein.",
        "Messages stand in errDE.csv, errEN.csv, stdDE.csv and stdEN.csv in the directory "
        "messages. "
        "A file of fewer than six bytes counts as missing. If the German one is missing, the "
        "English one takes its place."}};

constexpr Rule kShortRow = {
    .Id = "catalogue-row-short",
    .Level = Severity::Warning,
    .Title = {"Eine Zeile eines Meldungskatalogs ist kürzer als ihre Spalten",
              "A row of a message catalogue is shorter than its columns"},
    .Problem = {"die Zeile hat {0} Bytes, der Text beginnt erst nach {1}",
                "the row has {0} bytes, the text begins only after {1}"},
    .Effect = {"Er liest den Anfang der nächsten Zeile als Text dieser Zeile; alle folgenden "
               "Meldungen verrutschen.",
               "It reads the beginning of the next row as this row's text; all messages behind it "
               "shift."},
    .Advice = {"acht Spalten Klasse, sechs beliebige, dann der Text; keine leeren Zeilen",
               "eight columns of class, six of anything, then the text; no empty rows"},
    .Explanation = {
        "Das Ende einer Zeile sucht der Server erst von der Spalte des Textes an. Ist die Zeile "
        "kürzer, so findet er das Ende der nächsten. Auch leere Zeilen sind zu kurz.",
        "The server looks for the end of a row only from the text's column on. If the row is "
        "shorter, it finds the end of the next. Empty rows are too short as well."}};

constexpr Rule kNoClass = {
    .Id = "catalogue-row-without-class",
    .Level = Severity::Warning,
    .Title = {"Eine Zeile eines Meldungskatalogs beginnt nicht mit einer Klasse",
              "A row of a message catalogue does not begin with a class"},
    .Problem = {"die Zeile beginnt nicht mit der Nummer einer Klasse",
                "the row does not begin with the number of a class"},
    .Effect = {"Er rechnet sie zur Klasse 0, nach der nie gefragt wird, und unterbricht damit die "
               "Klasse davor.",
               "It counts it as class 0, which is never asked for, and so interrupts the class "
               "before it."},
    .Advice = {"die Nummer der Klasse in den ersten acht Spalten",
               "the number of the class in the first eight columns"},
    .Explanation = {
        "Die Klasse ist die Zahl, mit der die Zeile beginnt. Bemerkungen kennen die Kataloge "
        "nicht.",
        "The class is the number that the row begins with. Catalogues know no remarks."}};

constexpr Rule kInterrupted = {
    .Id = "catalogue-class-interrupted",
    .Level = Severity::Warning,
    .Title = {"Die Zeilen einer Klasse stehen nicht beieinander",
              "The rows of a class do not stand together"},
    .Problem = {"die Klasse {0} hat schon Zeilen ab Zeile {1}, dazwischen steht eine andere",
                "class {0} has rows from line {1} on already, with another class in between"},
    .Effect = {"Er findet nur die ersten; was hier steht, wird nie ausgegeben.",
               "It finds only the first ones; what stands here is never printed."},
    .Advice = {"alle Zeilen einer Klasse hintereinander, in der Reihenfolge ihrer Nummern",
               "all rows of a class one after the other, in the order of their numbers"},
    .Explanation = {
        "Die Nummer einer Meldung ist ihre Stelle unter den Zeilen ihrer Klasse. Gesucht wird nur "
        "in der ersten Gruppe von Zeilen einer Klasse.",
        "A message's number is its place among the rows of its class. Only the first group of rows "
        "of a class is looked at."}};

constexpr Rule kOutOfStep = {
    .Id = "catalogue-out-of-step",
    .Level = Severity::Warning,
    .Title = {"Der deutsche und der englische Katalog passen nicht zusammen",
              "The German and the English catalogue are out of step"},
    .Problem = {"hier weicht der Katalog von {0} ab", "here the catalogue differs from {0}"},
    .Effect = {"Er kennt nur eine Tabelle der Klassen, die des zweiten Katalogs: Im anderen trifft "
               "er von hier an falsche Meldungen.",
               "It knows one table of classes only, that of the second catalogue: in the other it "
               "hits wrong messages from here on."},
    .Advice = {"in beiden Dateien dieselben Klassen in denselben Zeilen",
               "the same classes in the same rows of both files"},
    .Explanation = {"Welche Zeilen zu einer Klasse gehören, liest der Server aus der englischen "
                    "Datei und nimmt "
                    "es auch für die deutsche.",
                    "Which rows belong to a class is read from the English file and taken for the "
                    "German one as "
                    "well."}};

constexpr Rule kNoMessage = {
    .Id = "catalogue-message-missing",
    .Level = Severity::Warning,
    .Title = {"Eine Meldung, die der Server ausgibt, steht nicht im Katalog",
              "A message that the server prints is not in the catalogue"},
    .Problem = {"die Meldung {1} der Klasse {0} fehlt", "message {1} of class {0} is missing"},
    .Effect = {"Er druckt statt dessen \"Meldungsfehler!!\" oder eine andere Meldung.",
               "It prints \"Meldungsfehler!!\" or another message instead."},
    .Advice = {"eine Zeile der Klasse {0} an der Stelle {1}, von 0 gezählt",
               "a row of class {0} at place {1}, counted from 0"},
    .Explanation = {
        "Der Server gibt aus: Fehler 0 der Klasse 1000 und die Meldungen 0 und 1 der Klasse 1000 "
        "sowie 0 der Klasse 7000.",
        "The server prints error 0 of class 1000, and messages 0 and 1 of class 1000 and 0 of "
        "class "
        "7000."}};

constexpr Rule kTooLong = {
    .Id = "catalogue-too-long",
    .Level = Severity::Warning,
    .Title = {"Ein Meldungskatalog hat zu viele Zeilen oder Klassen",
              "A message catalogue has too many rows or classes"},
    .Problem = {"mehr als {0} Zeilen oder {1} Klassen", "more than {0} rows or {1} classes"},
    .Effect = {"Er liest diese Zeile nicht mehr.", "It does not read this row any more."},
    .Advice = {"höchstens {0} Zeilen und {1} Klassen", "at most {0} rows and {1} classes"},
    .Explanation = {"Ein Katalog hat Platz für 101 Zeilen und 15 Klassen.",
                    "A catalogue has room for 101 rows and 15 classes."}};

constexpr Rule kRules[] = {kMissing,   kShortRow,  kNoClass, kInterrupted,
                           kOutOfStep, kNoMessage, kTooLong};

constexpr std::size_t kTextColumn = 14;
constexpr std::size_t kShortestFile = 6;

struct Row {
  int Line = 0;
  std::uint32_t Class = 0;
  std::size_t Size = 0;
};

/// One language's file of a catalogue.
struct Catalogue {
  std::string File;
  std::vector<Row> Rows;
  bool bSound = false;  ///< its rows are where the server looks for them
};

std::vector<Row> RowsOf(std::string text) {
  std::vector<Row> rows;
  text.erase(text.find_last_not_of(" \t\n\v\f\r") + 1);
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    const std::string row = text.substr(begin, end - begin);
    const auto number = static_cast<std::uint32_t>(std::strtol(row.c_str(), nullptr, 10));
    rows.push_back({static_cast<int>(rows.size()) + 1, number, row.size()});
    begin = end + 1;
  }
  return rows;
}

/// The rows of the first group of a class.
std::vector<Row> FirstGroup(const std::vector<Row>& rows, std::uint32_t id) {
  const auto isOfClass = [id](const Row& row) { return row.Class == id; };
  const auto begin = std::find_if(rows.begin(), rows.end(), isOfClass);
  return {begin, std::find_if_not(begin, rows.end(), isOfClass)};
}

class CatalogueCheck {
 public:
  CatalogueCheck(const CheckInput& input, Report& report)
      : directory_(input.Station.Messages() + "/"), report_(report) {}

  void Run(std::string_view name) {
    const Catalogue german = Load(std::string(name) + "DE.csv");
    const Catalogue english = Load(std::string(name) + "EN.csv");
    const bool germanComplete = CheckMessages(german, name);
    const bool englishComplete = CheckMessages(english, name);
    if (germanComplete && englishComplete) Compare(german, english);
  }

 private:
  Place At(const Catalogue& catalogue, int line) const {
    return {directory_ + catalogue.File, line, 0};
  }

  Catalogue Load(const std::string& name) {
    const std::string path = directory_ + name;
    const std::string text = IsReadableFile(path) ? Read(path) : "";
    Catalogue catalogue = {name, RowsOf(text)};
    if (text.size() < kShortestFile || catalogue.Rows.empty()) {
      AddFinding(report_, kMissing, At(catalogue, 0), name);
    } else {
      catalogue.bSound = !HasShortRow(catalogue) && !IsUnordered(catalogue);
    }
    return catalogue;
  }

  bool HasShortRow(const Catalogue& catalogue) {
    bool found = false;
    for (const Row& row : catalogue.Rows) {
      if (row.Size >= kTextColumn) continue;
      AddFinding(report_, kShortRow, At(catalogue, row.Line), row.Size, kTextColumn);
      found = true;
    }
    return found;
  }

  bool IsUnordered(const Catalogue& catalogue) {
    constexpr std::size_t kRowCount = CkaMessageTxt::kRows;
    constexpr std::size_t kClassCount = CkaMessageTxt::kClassBlocks;
    std::map<std::uint32_t, int> firstLines;
    std::uint32_t last = 0;
    bool found = false;
    for (const Row& row : catalogue.Rows) {
      const bool begins = row.Line == 1 || row.Class != last;
      last = row.Class;
      if (row.Class == 0) {
        AddFinding(report_, kNoClass, At(catalogue, row.Line));
        found = true;
      } else if (begins && !firstLines.emplace(row.Class, row.Line).second) {
        AddFinding(report_, kInterrupted, At(catalogue, row.Line), row.Class,
                   firstLines[row.Class]);
        found = true;
      } else if (catalogue.Rows.size() > kRowCount || firstLines.size() > kClassCount) {
        if (static_cast<std::size_t>(row.Line) <= kRowCount && firstLines.size() <= kClassCount)
          continue;
        AddFinding(report_, kTooLong, At(catalogue, row.Line), kRowCount, kClassCount);
        return true;
      }
    }
    return found;
  }

  /// Whether the rows are where they are looked for and all messages are among them.
  bool CheckMessages(const Catalogue& catalogue, std::string_view name) {
    if (!catalogue.bSound) return false;
    bool complete = true;
    for (const SentMessage& message : kSentMessages) {
      if (message.Catalogue != name) continue;
      const std::vector<Row> group = FirstGroup(catalogue.Rows, message.Class);
      if (message.Number < group.size()) continue;
      const int line = group.empty() ? 0 : group.back().Line;
      AddFinding(report_, kNoMessage, At(catalogue, line), message.Class, message.Number);
      complete = false;
    }
    return complete;
  }

  /// Reports the first row that the two do not share.
  void Compare(const Catalogue& german, const Catalogue& english) {
    const auto [first, second] = std::mismatch(
        german.Rows.begin(), german.Rows.end(), english.Rows.begin(), english.Rows.end(),
        [](const Row& a, const Row& b) { return a.Class == b.Class; });
    if (second != english.Rows.end()) {
      AddFinding(report_, kOutOfStep, At(english, second->Line), german.File);
    } else if (first != german.Rows.end()) {
      AddFinding(report_, kOutOfStep, At(german, first->Line), english.File);
    }
  }

  std::string directory_;
  Report& report_;
};

void Check(const CheckInput& input, Report& report) {
  CatalogueCheck check(input, report);
  check.Run("err");
  check.Run("std");
}

}  // namespace

RuleGroup CatalogueRules() {
  return {{"Meldungskataloge", "Message catalogues"}, kRules, Check};
}

}  // namespace tools
