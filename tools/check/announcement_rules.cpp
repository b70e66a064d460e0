#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "check/document_index.h"
#include "check/rule_groups.h"

namespace tools {

namespace {

constexpr Rule kNeverChosen = {
    .Id = "announcement-never-chosen",
    .Level = Severity::Warning,
    .Title = {"Eine Ansage, die für keine Zeile gewählt wird",
              "An announcement that is chosen for no row"},
    .Problem = {"die {0}. Ansage der Sprache \"{1}\" wird für keine Zeile gewählt",
                "announcement number {0} of the language \"{1}\" is chosen for no row"},
    .Effect = {"Er spricht sie nie. Er wählt nur zwischen der ersten und der zweiten Ansage einer "
               "Sprache.",
               "It never speaks it. It only chooses between the first and the second announcement "
               "of a language."},
    .Advice = {"je Sprache genau zwei Ansagen: zuerst position=\"0\", dann position=\"1\" mit "
               "positionMax",
               "exactly two announcements per language: first position=\"0\", then position=\"1\" "
               "with positionMax"},
    .Explanation = {
        "Für eine Zeile sucht der Server die erste Ansage mit passender Position: position ist die "
        "Nummer der Zeile (von 0 an), oder positionMax ist nicht kleiner als sie. Von der "
        "gefundenen "
        "zählt aber nur, ob ihre position 0 ist. Dann spricht er die erste Ansage der Sprache, "
        "sonst (auch wenn keine passt) die zweite. Eine dritte spricht er nie.",
        "For a row the server looks for the first announcement whose position fits: position is "
        "the "
        "number of the row (from 0 on), or positionMax is not less than it. But all that counts of "
        "it is whether its position is 0. If so it speaks the first announcement of the language, "
        "else (also if none fits) the second. It never speaks a third one."}};

constexpr Rule kGivesUp = {
    .Id = "announcement-gives-up-block",
    .Level = Severity::Error,
    .Title = {"Die Wahl der Ansage lässt den ganzen Datenblock scheitern",
              "The choice of the announcement makes the whole data block fail"},
    .Problem = {"für Zeile {0} braucht die Sprache \"{1}\" eine {2}. Ansage und hat {3}",
                "for row {0} the language \"{1}\" needs announcement number {2} and has {3}"},
    .Effect = {"Er gibt jeden Block mit dieser Zeile auf: Keine seiner Ansagen wird abgespielt.",
               "It gives up every block with this row: none of its announcements is played."},
    .Advice = {"je Sprache zuerst <Announcement position=\"0\">, danach eine mit position=\"1\"",
               "in every language first <Announcement position=\"0\">, then one with "
               "position=\"1\""},
    .Explanation = {
        "Der Server prüft, ob es eine Ansage mit position 0 (oder 1) gibt, und nimmt dann die "
        "erste "
        "(oder zweite) der Liste. Hat eine Sprache eine Ansage mit position 1, aber insgesamt nur "
        "eine, greift er ins Leere und bricht die Bearbeitung des Blocks ab.",
        "The server asks whether there is an announcement with position 0 (or 1) and then takes "
        "the "
        "first (or second) of the list. If a language has an announcement with position 1, but "
        "only "
        "one in all, it finds nothing there and gives up the work on the block."}};

constexpr Rule kMissing = {
    .Id = "announcement-missing",
    .Level = Severity::Warning,
    .Title = {"Für eine Zeile hat eine Sprache keine Ansage",
              "A language has no announcement for a row"},
    .Problem = {"für {0} hat die Sprache \"{1}\" keine Ansage mit position=\"{2}\"",
                "for {0} the language \"{1}\" has no announcement with position=\"{2}\""},
    .Effect = {"In dieser Sprache schweigt er zu diesen Zeilen.",
               "It says nothing about these rows in this language."},
    .Advice = {"<Announcement position=\"{2}\"> in diese Sprache",
               "<Announcement position=\"{2}\"> in this language"},
    .Explanation = {
        "Eine Zeile wird nur gesprochen, wenn die Sprache eine Ansage hat, deren position genau 0 "
        "beziehungsweise 1 ist, je nach Wahl; positionMax hilft dabei nicht.",
        "A row is spoken only if the language has an announcement whose position is exactly 0 or "
        "1, "
        "as chosen; positionMax does not help there."}};

constexpr Rule kBeyond = {
    .Id = "announcement-beyond-range",
    .Level = Severity::Hint,
    .Title = {"Zeilen hinter allen Positionen werden trotzdem gesprochen",
              "Rows behind all positions are spoken all the same"},
    .Problem = {"kein positionMax der Sprache \"{1}\" reicht bis {0}",
                "no positionMax of the language \"{1}\" reaches {0}"},
    .Effect = {"Er nimmt dafür die zweite Ansage.", "It takes the second announcement for it."},
    .Advice = {"positionMax=\"{2}\", oder kleineres maxrows",
               "positionMax=\"{2}\", or a smaller maxrows"},
    .Explanation = {
        "positionMax begrenzt nichts: Passt zu einer Zeile keine Ansage, wird die zweite der "
        "Sprache gesprochen. Begrenzt wird durch maxrows.",
        "positionMax limits nothing: if no announcement fits a row, the second of the language is "
        "spoken. The limit is maxrows."}};

constexpr Rule kOverlap = {
    .Id = "announcement-ranges-overlap",
    .Level = Severity::Warning,
    .Title = {"Zwei Ansagen gelten für dieselbe Zeile", "Two announcements are for the same row"},
    .Problem = {"Zeile {0} gehört auch zur Ansage in Zeile {1} des Dokuments",
                "row {0} also belongs to the announcement in line {1} of the document"},
    .Effect = {"Die Ansage, die im Dokument zuerst steht, bestimmt die Wahl.",
               "The announcement that stands first in the document decides the choice."},
    .Advice = {"Positionen, die sich nicht überschneiden", "positions that do not overlap"},
    .Explanation = {
        "Eine Ansage gilt von position bis positionMax. Überschneiden sich zwei, zählt für die "
        "gemeinsamen Zeilen die erste im Dokument.",
        "An announcement is for the rows from position to positionMax. Where two overlap, the "
        "first "
        "in the document counts for the rows that they share."}};

constexpr Rule kBackwards = {
    .Id = "announcement-range-backwards",
    .Level = Severity::Warning,
    .Title = {"positionMax ist kleiner als position", "positionMax is less than position"},
    .Problem = {"positionMax=\"{1}\" ist kleiner als position=\"{0}\"",
                "positionMax=\"{1}\" is less than position=\"{0}\""},
    .Effect = {"Die Ansage passt zu Zeile {0} und zu allen bis Zeile {1}.",
               "The announcement fits row {0} and all up to row {1}."},
    .Advice = {"positionMax nicht kleiner als position", "positionMax not less than position"},
    .Explanation = {
        "Eine Ansage passt zu der Zeile ihrer position und zu jeder, die nicht hinter positionMax "
        "liegt; eine untere Grenze gibt es nicht.",
        "An announcement fits the row of its position and every one that is not behind "
        "positionMax; there is no lower bound."}};

constexpr Rule kRules[] = {kNeverChosen, kGivesUp, kMissing, kBeyond, kOverlap, kBackwards};

/// More rows than these find no room in the largest block that the server reads.
constexpr unsigned int kMostRows = 2000;

/// Rows in a row, as people say it: "row 3" or "rows 1 to 5".
std::string RowsText(int first, int last, Language language) {
  constexpr Bilingual kOne = {"Zeile {0}", "row {0}"};
  constexpr Bilingual kSeveral = {"Zeile {0} bis {1}", "rows {0} to {1}"};
  return Say(first == last ? kOne : kSeveral, language, first, last);
}

/// What the choice by a truth value comes to for one language.
class ChoiceCheck {
 public:
  ChoiceCheck(const CheckInput& input, int language, const Element& element, Report& report)
      : document_(*input.Document),
        sequence_(input.Readers->Announcements),
        language_(language),
        rows_(static_cast<int>(std::min(input.Readers->Format.GetMaxRows(), kMostRows))),
        element_(element),
        name_(element.Value("name")),
        announcements_(element.ChildrenCalled("Announcement")),
        report_(report) {}

  void CheckAll() {
    if (rows_ == 0) return;
    FindRows();
    for (const int index : {0, 1})
      CheckChoice(index);
    if (!givesUp_) CheckNeverChosen();
    CheckBeyond();
    CheckRanges();
  }

 private:
  struct RowSpan {
    int First = -1;
    int Last = -1;
  };

  /// Which rows choose which announcement, by the server's own choice.
  void FindRows() {
    for (int row = 0; row < rows_; ++row) {
      RowSpan& span = spans_.at(sequence_.GetAnnouncementIndex(language_, row) ? 1 : 0);
      if (span.First < 0) span.First = row;
      span.Last = row;
    }
  }

  bool IsChosen(int index) const {
    return spans_.at(static_cast<std::size_t>(index)).First >= 0 &&
           sequence_.DoesAnnouncementExists(language_, index);
  }

  void CheckChoice(int index) {
    const RowSpan span = spans_.at(static_cast<std::size_t>(index));
    if (span.First < 0) return;
    if (!sequence_.DoesAnnouncementExists(language_, index)) {
      AddFinding(report_, kMissing, PlaceOf(document_, element_),
                 RowsText(span.First, span.Last, report_.Lang()), name_, index);
    } else if (index >= sequence_.GetAnnouncementCount(language_)) {
      givesUp_ = true;
      AddFinding(report_, kGivesUp, PlaceOf(document_, element_), span.First, name_, index + 1,
                 announcements_.size());
    }
  }

  void CheckNeverChosen() {
    for (std::size_t i = 0; i < announcements_.size(); ++i) {
      if (i < spans_.size() && IsChosen(static_cast<int>(i))) continue;
      AddFinding(report_, kNeverChosen, PlaceOf(document_, *announcements_[i]), i + 1, name_);
    }
  }

  void CheckBeyond() {
    int last = -1;
    for (const auto& announcement : Records())
      last = std::max({last, announcement.Position, announcement.PositionMax});
    if (last < 0 || last + 1 >= rows_ || !IsChosen(1)) return;
    AddFinding(report_, kBeyond, PlaceOf(document_, *announcements_.back()),
               RowsText(last + 1, rows_ - 1, report_.Lang()), name_, rows_ - 1);
  }

  void CheckRanges() {
    std::vector<const Element*> owners(static_cast<std::size_t>(rows_), nullptr);
    for (std::size_t i = 0; i < announcements_.size(); ++i) {
      const int position = Records()[i].Position;
      const int positionMax = Records()[i].PositionMax;
      if (positionMax < position) {
        AddFinding(report_, kBackwards, PlaceOf(document_, *announcements_[i], "positionMax"),
                   position, positionMax);
      }
      CheckOverlap(*announcements_[i], position, positionMax, owners);
    }
  }

  /// Reports the first row that belongs to another announcement already.
  void CheckOverlap(const Element& announcement, int position, int positionMax,
                    std::vector<const Element*>& owners) {
    const Element* reported = nullptr;
    for (int row = std::max(position, 0); row <= std::min(positionMax, rows_ - 1); ++row) {
      const Element*& owner = owners[static_cast<std::size_t>(row)];
      if (owner != nullptr && reported == nullptr) {
        reported = owner;
        AddFinding(report_, kOverlap, PlaceOf(document_, announcement), row, owner->At.Line);
      }
      if (owner == nullptr) owner = &announcement;
    }
  }

  const std::vector<CkaSpeechGen::kaTTSAnnouncement>& Records() const {
    return sequence_.Languages[static_cast<std::size_t>(language_)].Announcements;
  }

  const Document& document_;
  const CkaSpeechGen& sequence_;
  int language_;
  int rows_;
  const Element& element_;
  std::string name_;
  std::vector<const Element*> announcements_;
  Report& report_;
  std::array<RowSpan, 2> spans_;
  bool givesUp_ = false;
};

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr || input.Document->References() == nullptr) return;
  if (input.Readers->AnnouncementsResult != ReadResult::Complete) return;
  if (input.Readers->FormatResult != ReadResult::Complete) return;
  const std::vector<const Element*> languages = SpokenLanguages(*input.Document);
  // Languages beyond those of References are never spoken.
  const std::size_t count = std::min(languages.size(), NamedLanguages(*input.Document).size());
  for (std::size_t i = 0; i < count; ++i)
    ChoiceCheck(input, static_cast<int>(i), *languages[i], report).CheckAll();
}

}  // namespace

RuleGroup AnnouncementRules() {
  return {{"Die Wahl der Ansage", "The choice of the announcement"}, kRules, Check};
}

}  // namespace tools
