#include "kaCaseCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kaCases.h"
#include "kaRBLDataContent.h"
#include "output_of.h"

namespace {

using Case = CkaCases::kaCaseStruct;

Case Substr(const std::string& id, int begin, int end, int treatAs, int op,
            const std::string& value) {
  Case record;
  record.Type = CkaCases::_CS_SUBSTR;
  record.Id = id;
  record.FirstValRef = "v";
  record.Begin = begin;
  record.End = end;
  record.TreatAs = treatAs;
  record.Operator = op;
  record.SecondVal = value;
  return record;
}

Case Number(int op, const std::string& value) {
  return Substr("x", 0, -1, CkaCases::_CST_NUMBER, op, value);
}

Case Text(int op, const std::string& value) {
  return Substr("x", 0, -1, CkaCases::_CST_STRING, op, value);
}

Case TextPart(int begin, int end, const std::string& value) {
  return Substr("x", begin, end, CkaCases::_CST_STRING, CkaCases::_CSO_EQ, value);
}

Case Length(int op, const std::string& value) {
  Case record;
  record.Type = CkaCases::_CS_STRLEN;
  record.Id = "x";
  record.FirstValRef = "v";
  record.Operator = op;
  record.SecondVal = value;
  return record;
}

Case Operation(const std::string& id, int op, const std::vector<std::string>& refs) {
  Case record;
  record.Type = CkaCases::_CS_OPERATION;
  record.Id = id;
  record.Operator = op;
  record.CaseRefs = refs;
  return record;
}

/// A case that holds for the value "1", one that does not.
Case Holding(const std::string& id) {
  return Substr(id, 0, -1, CkaCases::_CST_STRING, CkaCases::_CSO_EQ, "1");
}
Case Failing(const std::string& id) {
  return Substr(id, 0, -1, CkaCases::_CST_STRING, CkaCases::_CSO_EQ, "2");
}

class CaseCheck : public testing::Test {
 protected:
  /// Rows that have their value in the attribute "v".
  void SetRows(const std::vector<std::string>& values) {
    std::string block = "<rbl>";
    for (const std::string& value : values)
      block += "<row v='" + value + "'/>";
    ASSERT_TRUE(Content.Initialize(block + "</rbl>", false, true));
    ASSERT_TRUE(Content.ReadContent());
  }
  /// Checks row 0 of one row with `value` by `cases` and keeps what was printed.
  void Check(const std::string& value, const std::vector<Case>& cases) {
    Row = std::make_unique<CkaRBLDataContent>();
    ASSERT_TRUE(Row->Initialize("<rbl><row v='" + value + "'/></rbl>", false, true));
    ASSERT_TRUE(Row->ReadContent());
    Definitions.SortedCases = cases;
    Checked = CkaCaseCheck();
    Checked.Initialize(&Definitions, Row.get());
    Output = OutputOf([&] { Checked.CheckForRow(0); });
    ExpectTheSameByAGivenIndex();
  }
  void ExpectTheSameByAGivenIndex() {
    const kaCaseIndex index(Definitions);
    CkaCaseCheck checked;
    checked.Initialize(&Definitions, Row.get(), &index);
    EXPECT_EQ(OutputOf([&] { checked.CheckForRow(0); }), Output);
    EXPECT_TRUE(std::ranges::equal(checked.SimpleCases, Checked.SimpleCases,
                                   [](const auto& one, const auto& other) {
                                     return one.Name == other.Name && one.bIsTrue == other.bIsTrue;
                                   }));
    for (const Case& one : Definitions.SortedCases)
      EXPECT_EQ(checked.IsCaseTrue(one.Id), Checked.IsCaseTrue(one.Id)) << one.Id;
  }
  /// Whether a single case holds for a value.
  bool Holds(const std::string& value, const Case& one) {
    Check(value, {one});
    return Checked.IsCaseTrue(one.Id);
  }

  CkaCases Definitions;
  CkaRBLDataContent Content;
  CkaCaseCheck Checked;
  Printed Output;
  std::unique_ptr<CkaRBLDataContent> Row;
};

using Results = std::vector<std::pair<std::string, bool>>;

/// The result of the last case called `id`.
bool LookUpPlainly(const Results& results, const std::string& id) {
  const auto found = std::find_if(results.rbegin(), results.rend(),
                                  [&](const auto& result) { return result.first == id; });
  return found != results.rend() && found->second;
}

bool CombinePlainly(const Results& results, const Case& operation) {
  const auto holds = [&](const std::string& id) { return LookUpPlainly(results, id); };
  const auto& refs = operation.CaseRefs;
  if (refs.empty()) return false;
  const bool all = std::all_of(refs.begin(), refs.end(), holds);
  const bool any = std::any_of(refs.begin(), refs.end(), holds);
  switch (operation.Operator) {
    case CkaCases::_CS_AND:
      return all;
    case CkaCases::_CS_OR:
      return any;
    case CkaCases::_CS_NOR:
      return !any;
    default:
      return !all;
  }
}

/// The results of cases of which the simple ones compare with the value "1".
Results EvaluatePlainly(const std::vector<Case>& cases) {
  Results results;
  for (const Case& one : cases) {
    const bool simple = one.Type == CkaCases::_CS_SUBSTR;
    results.emplace_back(one.Id, simple ? one.SecondVal == "1" : CombinePlainly(results, one));
  }
  return results;
}

/// Cases with few ids, in any order.
std::vector<Case> RandomCases(std::mt19937& random) {
  const auto randomId = [&] { return std::to_string(random() % 8); };
  std::vector<Case> cases(1 + random() % 20);
  for (Case& one : cases) {
    const std::string id = randomId();
    one = Operation(id, CkaCases::_CS_AND + static_cast<int>(random() % 4), {});
    for (auto refs = random() % 4; refs > 0; --refs)
      one.CaseRefs.push_back(randomId());
    if (random() % 3 == 0) one = random() % 2 == 0 ? Holding(id) : Failing(id);
  }
  return cases;
}

}  // namespace

TEST_F(CaseCheck, StartsEmpty) {
  EXPECT_EQ(Checked.GetClassMsgID(), 11000U);
  EXPECT_FALSE(Checked.bIsInitialized);
  EXPECT_TRUE(Checked.SimpleCases.empty());
  static_assert(std::has_virtual_destructor_v<CkaCaseCheck>);
}

TEST_F(CaseCheck, InitializeStoresBothAndIsTrue) {
  EXPECT_TRUE(Checked.Initialize(&Definitions, &Content));
  EXPECT_EQ(Checked.CaseFormat, &Definitions);
  EXPECT_EQ(Checked.RBLContent, &Content);
  EXPECT_FALSE(Checked.bIsInitialized);
  EXPECT_TRUE(CkaCaseCheck().Initialize(nullptr, nullptr));
}

// Parts of a value.

TEST_F(CaseCheck, PartFromBeginToEndIsCompared) {
  EXPECT_TRUE(Holds("ICE 123", TextPart(0, 2, "ICE")));
  EXPECT_FALSE(Holds("ICE 123", TextPart(0, 2, "ICE 123")));
  EXPECT_TRUE(Holds("ICE 123", TextPart(4, 4, "1")));
  EXPECT_TRUE(Holds("ICE 123", TextPart(0, 6, "ICE 123")));
}

TEST_F(CaseCheck, EndPastTheValueIsFalseWithoutAnError) {
  EXPECT_FALSE(Holds("ICE 123", TextPart(0, 7, "ICE")));
  EXPECT_FALSE(Holds("ICE 123", TextPart(0, 7, "ICE 123")));
  EXPECT_FALSE(Holds("", TextPart(0, 0, "")));
  EXPECT_EQ(Output, Nothing());
}

TEST_F(CaseCheck, EndMinusOneIsTheEndOfTheValue) {
  EXPECT_TRUE(Holds("ICE 123", TextPart(4, -1, "123")));
  EXPECT_TRUE(Holds("ICE 123", TextPart(7, -1, "")));
  EXPECT_TRUE(Holds("", TextPart(0, -1, "")));
}

TEST_F(CaseCheck, EndBeforeBeginIsFalse) {
  EXPECT_FALSE(Holds("ICE 123", TextPart(3, 2, "")));
  EXPECT_FALSE(Holds("ICE 123", TextPart(0, -2, "ICE 123")));
}

TEST_F(CaseCheck, BeginOutsideTheValueThrows) {
  const std::pair<int, int> limits[] = {{8, -1}, {100, -1}, {-1, -1}, {-1, 2}, {-5, -3}, {-7, 6}};
  SetRows({"ICE 123"});
  for (const auto& [begin, end] : limits) {
    Definitions.SortedCases = {TextPart(begin, end, "")};
    CkaCaseCheck check;
    check.Initialize(&Definitions, &Content);
    EXPECT_THROW(check.CheckForRow(0), std::out_of_range) << begin << " " << end;
    EXPECT_THROW(check.CheckSubstrForRow(0, 0), std::out_of_range) << begin << " " << end;
  }
}

TEST_F(CaseCheck, PartUnderTestIsWhatTheCaseCompares) {
  SetRows({"ICE 123", ""});
  Definitions.SortedCases = {TextPart(0, 2, ""), TextPart(4, -1, ""), TextPart(7, -1, ""),
                             TextPart(0, 7, ""), TextPart(3, 2, ""),  TextPart(8, -1, "")};
  Checked.Initialize(&Definitions, &Content);
  EXPECT_EQ(Checked.PartUnderTest(0, 0), "ICE");
  EXPECT_EQ(Checked.PartUnderTest(0, 1), "123");
  EXPECT_EQ(Checked.PartUnderTest(0, 2), "");
  EXPECT_EQ(Checked.PartUnderTest(0, 3), std::nullopt) << "the value ends before the case";
  EXPECT_EQ(Checked.PartUnderTest(0, 4), std::nullopt) << "ends before it begins";
  EXPECT_THROW(Checked.PartUnderTest(0, 5), std::out_of_range);
  EXPECT_EQ(Checked.PartUnderTest(1, 0), std::nullopt);
  EXPECT_THROW(Checked.PartUnderTest(1, 1), std::out_of_range) << "an open end of a short value";
}

TEST_F(CaseCheck, PositionsCountBytes) {
  EXPECT_TRUE(Holds("Köln", TextPart(1, 2, "ö")));
  EXPECT_TRUE(Holds("Köln", TextPart(3, 4, "ln")));
}

TEST_F(CaseCheck, MissingAttributeIsAnEmptyValue) {
  Case missing = TextPart(0, -1, "");
  missing.FirstValRef = "none";
  EXPECT_TRUE(Holds("x", missing));
}

// Comparisons.

TEST_F(CaseCheck, NumbersAreComparedByTheirOperator) {
  const struct {
    int Operator;
    bool Less;
    bool Equal;
    bool Greater;
  } operators[] = {
      {CkaCases::_CSO_LT, true, false, false},   {CkaCases::_CSO_GT, false, false, true},
      {CkaCases::_CSO_LE, true, true, false},    {CkaCases::_CSO_GE, false, true, true},
      {CkaCases::_CSO_NE, true, false, true},    {CkaCases::_CSO_EQ, false, true, false},
      {CkaCases::_CSO_HAS, false, false, false}, {CkaCases::_CSO_HASNOT, false, false, false},
      {CkaCases::kUnset, false, false, false},   {99, false, false, false}};
  for (const auto& [op, less, equal, greater] : operators) {
    EXPECT_EQ(Holds("9", Number(op, "10")), less) << op;
    EXPECT_EQ(Holds("10", Number(op, "10")), equal) << op;
    EXPECT_EQ(Holds("11", Number(op, "10")), greater) << op;
  }
}

TEST_F(CaseCheck, NumberStopsAtTheFirstNonDigit) {
  EXPECT_TRUE(Holds("12a", Number(CkaCases::_CSO_EQ, "12")));
  EXPECT_TRUE(Holds("12", Number(CkaCases::_CSO_EQ, " +12 min")));
  EXPECT_TRUE(Holds("-3", Number(CkaCases::_CSO_LT, "0")));
  EXPECT_TRUE(Holds("abc", Number(CkaCases::_CSO_EQ, "")));
  EXPECT_TRUE(Holds("", Number(CkaCases::_CSO_EQ, "0")));
}

TEST_F(CaseCheck, OverLongNumbersAreCutAsALongIs) {
  EXPECT_TRUE(Holds("4294967303", Number(CkaCases::_CSO_EQ, "7")));
  EXPECT_TRUE(Holds(std::string(500, '9'), Number(CkaCases::_CSO_EQ, "-1")));
}

TEST_F(CaseCheck, TextsAreEqualOrNot) {
  EXPECT_TRUE(Holds("ICE", Text(CkaCases::_CSO_EQ, "ICE")));
  EXPECT_FALSE(Holds("ICE", Text(CkaCases::_CSO_EQ, "ice")));
  EXPECT_FALSE(Holds("ICE", Text(CkaCases::_CSO_NE, "ICE")));
  EXPECT_TRUE(Holds("ICE", Text(CkaCases::_CSO_NE, "IC")));
}

TEST_F(CaseCheck, TextsHaveNoOrder) {
  const int operators[] = {CkaCases::_CSO_LT, CkaCases::_CSO_GT, CkaCases::_CSO_LE,
                           CkaCases::_CSO_GE, CkaCases::kUnset};
  for (const int op : operators) {
    for (const char* value : {"a", "b", "c"})
      EXPECT_FALSE(Holds("b", Text(op, value))) << op;
  }
}

TEST_F(CaseCheck, HasLooksForAnySingleCharacter) {
  EXPECT_FALSE(Holds("abc", Text(CkaCases::_CSO_HAS, "xyz")));
  EXPECT_TRUE(Holds("axc", Text(CkaCases::_CSO_HAS, "xyz")));
  EXPECT_TRUE(Holds("zzz", Text(CkaCases::_CSO_HAS, "xyz")));
  EXPECT_TRUE(Holds("abc", Text(CkaCases::_CSO_HASNOT, "xyz")));
  EXPECT_FALSE(Holds("axc", Text(CkaCases::_CSO_HASNOT, "xyz")));
}

TEST_F(CaseCheck, HasOfNothingIsFalseAndHasnotTrue) {
  for (const char* value : {"abc", ""}) {
    EXPECT_FALSE(Holds(value, Text(CkaCases::_CSO_HAS, "")));
    EXPECT_TRUE(Holds(value, Text(CkaCases::_CSO_HASNOT, "")));
  }
  EXPECT_FALSE(Holds("", Text(CkaCases::_CSO_HAS, "a")));
}

TEST_F(CaseCheck, HasComparesBytes) {
  EXPECT_TRUE(Holds("ü", Text(CkaCases::_CSO_HAS, "ä")));  // both begin with the byte C3
}

TEST_F(CaseCheck, HasLooksOnlyIntoThePart) {
  Case part = Text(CkaCases::_CSO_HAS, "c");
  part.End = 1;
  EXPECT_FALSE(Holds("abc", part));
}

TEST_F(CaseCheck, OtherTreatmentIsFalse) {
  for (const int treatAs : {static_cast<int>(CkaCases::kUnset), 2, 99}) {
    for (int op = CkaCases::_CSO_LT; op <= CkaCases::_CSO_HASNOT; ++op) {
      EXPECT_FALSE(Holds("1", Substr("x", 0, -1, treatAs, op, "1"))) << treatAs << " " << op;
    }
  }
}

// Lengths.

TEST_F(CaseCheck, LengthIsComparedAndPrinted) {
  EXPECT_TRUE(Holds("12345", Length(CkaCases::_CSO_GT, "3")));
  EXPECT_EQ(Output, OnlyOut("Platform case : 5 > 3\n"));
}

TEST_F(CaseCheck, LengthsAreComparedByTheirOperatorAndAlwaysPrintedAsGreater) {
  const struct {
    int Operator;
    bool Less;
    bool Equal;
    bool Greater;
  } operators[] = {
      {CkaCases::_CSO_LT, true, false, false},   {CkaCases::_CSO_GT, false, false, true},
      {CkaCases::_CSO_LE, true, true, false},    {CkaCases::_CSO_GE, false, true, true},
      {CkaCases::_CSO_NE, true, false, true},    {CkaCases::_CSO_EQ, false, true, false},
      {CkaCases::_CSO_HAS, false, false, false}, {CkaCases::_CSO_HASNOT, false, false, false},
      {CkaCases::kUnset, false, false, false}};
  for (const auto& [op, less, equal, greater] : operators) {
    EXPECT_EQ(Holds("1", Length(op, "2")), less) << op;
    EXPECT_EQ(Output, OnlyOut("Platform case : 1 > 2\n"));
    EXPECT_EQ(Holds("12", Length(op, "2")), equal) << op;
    EXPECT_EQ(Output, OnlyOut("Platform case : 2 > 2\n"));
    EXPECT_EQ(Holds("123", Length(op, "2")), greater) << op;
    EXPECT_EQ(Output, OnlyOut("Platform case : 3 > 2\n"));
  }
}

TEST_F(CaseCheck, LengthCountsBytes) {
  EXPECT_TRUE(Holds("Gleis für", Length(CkaCases::_CSO_EQ, "10")));
}

TEST_F(CaseCheck, LengthIsComparedWithALeadingInteger) {
  EXPECT_FALSE(Holds("", Length(CkaCases::_CSO_LT, "x")));
  EXPECT_EQ(Output, OnlyOut("Platform case : 0 > 0\n"));
  EXPECT_TRUE(Holds("abc", Length(CkaCases::_CSO_GT, "-1 x")));
  EXPECT_EQ(Output, OnlyOut("Platform case : 3 > -1\n"));
}

// Operations.

TEST_F(CaseCheck, OperationsCombineTheirCases) {
  const struct {
    int Operator;
    bool NoneTrue;
    bool OneTrue;
    bool AllTrue;
  } operators[] = {{CkaCases::_CS_AND, false, false, true},
                   {CkaCases::_CS_OR, false, true, true},
                   {CkaCases::_CS_NOR, true, false, false},
                   {CkaCases::_CS_NAND, true, true, false}};
  for (const auto& [op, none, one, all] : operators) {
    const std::vector<Case> simple{Holding("t"), Failing("f")};
    const auto combined = [&, op = op](const std::vector<std::string>& refs) {
      Check("1", {simple[0], simple[1], Operation("op", op, refs)});
      return Checked.IsCaseTrue("op");
    };
    EXPECT_EQ(combined({"f", "f"}), none) << op;
    EXPECT_EQ(combined({"t", "f"}), one) << op;
    EXPECT_EQ(combined({"f", "t"}), one) << op;
    EXPECT_EQ(combined({"t", "t"}), all) << op;
    EXPECT_EQ(combined({"t"}), all) << op;
    EXPECT_EQ(combined({"f"}), none) << op;
  }
}

TEST_F(CaseCheck, NandOfOneFalseCaseIsTrueAndSoIsNorOfFalseCases) {
  Check("1", {Failing("f"), Operation("not", CkaCases::_CS_NAND, {"f"}),
              Operation("nor", CkaCases::_CS_NOR, {"f", "f", "f"})});
  EXPECT_TRUE(Checked.IsCaseTrue("not"));
  EXPECT_TRUE(Checked.IsCaseTrue("nor"));
}

TEST_F(CaseCheck, EmptyOperationIsFalse) {
  for (const int op :
       {CkaCases::_CS_AND, CkaCases::_CS_OR, CkaCases::_CS_NOR, CkaCases::_CS_NAND}) {
    EXPECT_FALSE(Holds("1", Operation("op", op, {}))) << op;
  }
}

TEST_F(CaseCheck, UnknownOperatorOfAnOperationIsFalse) {
  for (const int op : {static_cast<int>(CkaCases::kUnset), 0, 2, 7}) {
    Check("1", {Holding("t"), Operation("op", op, {"t"}), Operation("op2", op, {"none"})});
    EXPECT_FALSE(Checked.IsCaseTrue("op")) << op;
    EXPECT_FALSE(Checked.IsCaseTrue("op2")) << op;
  }
}

TEST_F(CaseCheck, UnknownReferenceCountsAsFalse) {
  Check("1", {Operation("nand", CkaCases::_CS_NAND, {"none"}),
              Operation("or", CkaCases::_CS_OR, {"none"})});
  EXPECT_TRUE(Checked.IsCaseTrue("nand"));
  EXPECT_FALSE(Checked.IsCaseTrue("or"));
}

TEST_F(CaseCheck, OperationsSeeTheResultsOfEarlierOperations) {
  Check("1", {Failing("f"), Operation("a", CkaCases::_CS_NAND, {"f"}),
              Operation("b", CkaCases::_CS_NAND, {"a"}), Operation("c", CkaCases::_CS_NOR, {"b"})});
  EXPECT_TRUE(Checked.IsCaseTrue("a"));
  EXPECT_FALSE(Checked.IsCaseTrue("b"));
  EXPECT_TRUE(Checked.IsCaseTrue("c"));
}

// Results.

TEST_F(CaseCheck, CheckForRowIsZeroAndRecordsEveryCaseInOrder) {
  SetRows({"1"});
  Definitions.SortedCases = {Holding("a"), Failing("b"), Holding("")};
  Checked.Initialize(&Definitions, &Content);
  EXPECT_EQ(Checked.CheckForRow(0), 0);
  ASSERT_EQ(Checked.SimpleCases.size(), 3U);
  EXPECT_EQ(Checked.SimpleCases[0].Name, "a");
  EXPECT_TRUE(Checked.SimpleCases[0].bIsTrue);
  EXPECT_EQ(Checked.SimpleCases[1].Name, "b");
  EXPECT_FALSE(Checked.SimpleCases[1].bIsTrue);
  EXPECT_TRUE(Checked.IsCaseTrue(""));
}

TEST_F(CaseCheck, UnknownNameIsFalse) {
  EXPECT_FALSE(Checked.IsCaseTrue("none"));
  Check("1", {Holding("a")});
  EXPECT_FALSE(Checked.IsCaseTrue("none"));
  EXPECT_FALSE(Checked.IsCaseTrue("A"));
}

TEST_F(CaseCheck, AllFormsOfIsCaseTrueAnswer) {
  Check("1", {Holding("a")});
  char characters[] = "a";
  EXPECT_TRUE(Checked.IsCaseTrue("a"));
  EXPECT_TRUE(Checked.IsCaseTrue(characters));
  EXPECT_TRUE(Checked.IsCaseTrue(std::string("a")));
}

TEST_F(CaseCheck, LastCaseOfANameWins) {
  Check("1", {Holding("a"), Failing("a"), Failing("b"), Holding("b"),
              Operation("op", CkaCases::_CS_AND, {"b"})});
  EXPECT_FALSE(Checked.IsCaseTrue("a"));
  EXPECT_TRUE(Checked.IsCaseTrue("b"));
  EXPECT_TRUE(Checked.IsCaseTrue("op"));
}

TEST_F(CaseCheck, CaseOfAnotherTypeKeepsThePreviousResult) {
  Case other = Holding("other");
  other.Type = 99;
  Check("1", {Holding("a"), other});
  EXPECT_TRUE(Checked.IsCaseTrue("other"));
  Check("1", {Failing("a"), other});
  EXPECT_FALSE(Checked.IsCaseTrue("other"));
}

TEST_F(CaseCheck, FirstCaseOfAnotherTypeIsFalse) {
  Case other = Holding("other");
  other.Type = 99;
  Check("1", {other, Operation("not", CkaCases::_CS_NAND, {"other"})});
  EXPECT_FALSE(Checked.IsCaseTrue("other"));
  EXPECT_TRUE(Checked.IsCaseTrue("not"));
}

TEST_F(CaseCheck, RowsAreCheckedForThemselves) {
  SetRows({"1", "2"});
  Definitions.SortedCases = {Holding("one"), Failing("two")};
  for (int row = 0; row < 2; ++row) {
    CkaCaseCheck check;
    check.Initialize(&Definitions, &Content);
    check.CheckForRow(row);
    EXPECT_EQ(check.IsCaseTrue("one"), row == 0);
    EXPECT_EQ(check.IsCaseTrue("two"), row == 1);
  }
}

TEST_F(CaseCheck, ResultsAreNeverClearedAndTheLastOnesCount) {
  SetRows({"1", "2"});
  Definitions.SortedCases = {Holding("one")};
  Checked.Initialize(&Definitions, &Content);
  Checked.CheckForRow(0);
  Checked.CheckForRow(1);
  EXPECT_EQ(Checked.SimpleCases.size(), 2U);
  EXPECT_FALSE(Checked.IsCaseTrue("one"));
}

TEST_F(CaseCheck, ResultsOfOtherCasesStayKnownAfterASecondCheck) {
  SetRows({"1"});
  Definitions.SortedCases = {Failing("no"), Holding("one"), Holding("two")};
  Checked.Initialize(&Definitions, &Content);
  Checked.CheckForRow(0);
  CkaCases others;
  others.SortedCases = {Holding("other"), Operation("both", CkaCases::_CS_AND, {"one", "two"})};
  Checked.Initialize(&others, &Content);
  Checked.CheckForRow(0);
  EXPECT_EQ(Checked.SimpleCases.size(), 5U);
  for (const char* name : {"one", "two", "other", "both"})
    EXPECT_TRUE(Checked.IsCaseTrue(name)) << name;
  EXPECT_FALSE(Checked.IsCaseTrue("no"));
}

TEST_F(CaseCheck, OperationRefersToTheResultOfAnEarlierCheckWhereThisOneHasNone) {
  SetRows({"1", "2"});
  Definitions.SortedCases = {Operation("seen", CkaCases::_CS_AND, {"one"}), Holding("one")};
  const kaCaseIndex index(Definitions);
  Checked.Initialize(&Definitions, &Content, &index);
  Checked.CheckForRow(0);
  EXPECT_FALSE(Checked.IsCaseTrue("seen"));
  Checked.CheckForRow(1);
  EXPECT_TRUE(Checked.IsCaseTrue("seen"));
  EXPECT_FALSE(Checked.IsCaseTrue("one"));
}

TEST_F(CaseCheck, ResultsBeforeOneThatCannotBeHadAreKnown) {
  SetRows({"1"});
  Definitions.SortedCases = {Holding("one"), Failing("two"), TextPart(2, -1, ""), Holding("two")};
  Checked.Initialize(&Definitions, &Content);
  EXPECT_THROW(Checked.CheckForRow(0), std::out_of_range);
  EXPECT_TRUE(Checked.IsCaseTrue("one"));
  EXPECT_FALSE(Checked.IsCaseTrue("two"));
}

TEST_F(CaseCheck, RowBeyondTheBlockHasEmptyValues) {
  SetRows({"1"});
  Definitions.SortedCases = {TextPart(0, -1, "")};
  Checked.Initialize(&Definitions, &Content);
  Checked.CheckForRow(7);
  EXPECT_TRUE(Checked.IsCaseTrue("x"));
}

TEST_F(CaseCheck, NegativeRowThrows) {
  SetRows({"1"});
  Definitions.SortedCases = {Holding("a")};
  Checked.Initialize(&Definitions, &Content);
  EXPECT_THROW(Checked.CheckForRow(-1), std::out_of_range);
}

TEST_F(CaseCheck, SingleChecksAnswerForTheirCase) {
  SetRows({"1"});
  Definitions.SortedCases = {Holding("t"), Length(CkaCases::_CSO_EQ, "1"),
                             Operation("op", CkaCases::_CS_AND, {"t"})};
  Checked.Initialize(&Definitions, &Content);
  EXPECT_TRUE(Checked.CheckSubstrForRow(0, 0));
  bool length = false;
  EXPECT_EQ(OutputOf([&] { length = Checked.CheckStrlenForRow(0, 1); }),
            OnlyOut("Platform case : 1 > 1\n"));
  EXPECT_TRUE(length);
  EXPECT_FALSE(Checked.CheckOperationForRow(0, 2));  // "t" has no result yet
  EXPECT_TRUE(Checked.SimpleCases.empty());
  OutputOf([&] { Checked.CheckForRow(0); });
  EXPECT_TRUE(Checked.CheckOperationForRow(0, 2));
}

TEST_F(CaseCheck, TenThousandCasesAreChecked) {
  std::vector<Case> cases{Holding("o0")};
  for (int i = 1; i < 10000; ++i) {
    cases.push_back(Operation("o" + std::to_string(i), CkaCases::_CS_NAND,
                              {"o" + std::to_string(i - 1), "o0"}));
  }
  Check("1", cases);
  ASSERT_EQ(Checked.SimpleCases.size(), 10000U);
  for (int i = 0; i < 10000; ++i) {
    ASSERT_EQ(Checked.IsCaseTrue("o" + std::to_string(i)), i % 2 == 0) << i;
  }
}

TEST_F(CaseCheck, RandomCasesAreEvaluatedAsByThePlainCode) {
  for (unsigned int seed = 0; seed < 500; ++seed) {
    std::mt19937 random(seed);
    const std::vector<Case> cases = RandomCases(random);
    Check("1", cases);
    const Results expected = EvaluatePlainly(cases);
    for (int id = 0; id < 9; ++id) {
      ASSERT_EQ(Checked.IsCaseTrue(std::to_string(id)), LookUpPlainly(expected, std::to_string(id)))
          << seed;
    }
  }
}
