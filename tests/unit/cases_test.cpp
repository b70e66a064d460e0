#include "kaCases.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "output_of.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSimple = "<Case id='s' strlen='a' operator='eq' value='1'/>";

std::string DocumentOf(const std::string& cases) {
  return "<doc><Assembly>" + cases + "</Assembly></doc>";
}

/// A substring case with these further attributes.
std::string SubstrCase(const std::string& attributes) {
  return "<Case id='x' substr='a' begin='0' end='-1' value='v' " + attributes + "/>";
}

/// An operation case.
std::string Operation(const std::string& id, const std::vector<std::string>& refs,
                      const std::string& attributes = "operator='AND'") {
  std::string text = "<Case id='" + id + "' " + attributes + ">";
  for (const std::string& ref : refs)
    text += "<Case ref='" + ref + "'/>";
  return text + "</Case>";
}

std::vector<std::string> IdsOf(const CkaCases& cases) {
  std::vector<std::string> ids;
  for (int i = 0; i < cases.GetCaseCount(); ++i)
    ids.push_back(cases.GetIdAt(i));
  return ids;
}

class Cases : public testing::Test {
 protected:
  /// Reads these "Case" elements; what was printed goes to Output.
  bool Read(const std::string& cases) {
    EXPECT_TRUE(Document.Initialize(DocumentOf(cases), false, true));
    bool result = false;
    Output = OutputOf([&] { result = Document.ReadCases(); });
    return result;
  }
  /// Whether a substring case with these attributes comes back as one.
  bool AcceptsSubstr(const std::string& attributes) {
    Read(kSimple + SubstrCase(attributes));
    return Document.GetTypeAt(1) == CkaCases::_CS_SUBSTR;
  }

  CkaCases Document;
  Printed Output;
};

// The plainest code for the order of the cases: the passes as they are described to authors.

struct CaseElement {
  std::string Id;
  bool bSimple;    ///< has "strlen"
  bool bAccepted;  ///< a simple case with a known operator
  std::vector<std::string> Refs;

  std::string Text() const {
    const std::string simple =
        bSimple ? " strlen='a' operator='" + std::string(bAccepted ? "eq" : "has") + "'" : "";
    return Operation(Id, Refs, simple);
  }
};

struct ExpectedCase {
  std::string Id;
  int Type;
  std::vector<std::string> Refs;

  bool operator==(const ExpectedCase&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const ExpectedCase& expected) {
  stream << expected.Id << ':' << expected.Type;
  for (const std::string& ref : expected.Refs)
    stream << ' ' << ref;
  return stream;
}

bool Contains(const std::vector<ExpectedCase>& done, const std::string& id) {
  return std::any_of(done.begin(), done.end(), [&](const auto& one) { return one.Id == id; });
}

/// One pass over all elements. \return whether it added one
bool MakePass(const std::vector<CaseElement>& elements, std::vector<ExpectedCase>& done) {
  bool added = false;
  for (const CaseElement& element : elements) {
    if (Contains(done, element.Id)) continue;
    if (!std::all_of(element.Refs.begin(), element.Refs.end(),
                     [&](const std::string& ref) { return Contains(done, ref); })) {
      continue;
    }
    done.push_back({element.Id, CkaCases::_CS_OPERATION, element.Refs});
    added = true;
  }
  return added;
}

std::vector<ExpectedCase> SortPlainly(const std::vector<CaseElement>& elements) {
  std::vector<ExpectedCase> done;
  for (const CaseElement& element : elements) {
    if (element.bSimple && element.bAccepted) {
      done.push_back({element.Id, CkaCases::_CS_STRLEN, {}});
    }
  }
  if (done.empty()) return {};
  while (MakePass(elements, done)) {
  }
  return done;
}

/// Few ids, so that duplicates, self references, cycles and missing references all occur.
std::vector<CaseElement> RandomElements(std::mt19937& random) {
  const auto randomId = [&] {
    const auto letter = random() % 8;
    return letter == 7 ? std::string() : std::string(1, static_cast<char>('a' + letter));
  };
  std::vector<CaseElement> elements(random() % 14);
  for (CaseElement& element : elements) {
    element = {randomId(), random() % 4 == 0, random() % 4 != 0, {}};
    for (auto count = random() % 4; count > 0; --count)
      element.Refs.push_back(randomId());
  }
  return elements;
}

std::vector<ExpectedCase> Sorted(const CkaCases& cases) {
  std::vector<ExpectedCase> sorted;
  for (int i = 0; i < cases.GetCaseCount(); ++i) {
    sorted.push_back({cases.GetIdAt(i), cases.GetTypeAt(i), cases.GetCaseRefsAt(i)});
  }
  return sorted;
}

}  // namespace

TEST_F(Cases, StartsEmpty) {
  EXPECT_EQ(Document.GetClassMsgID(), 10300U);
  EXPECT_EQ(Document.GetCaseCount(), 0);
  static_assert(std::has_virtual_destructor_v<CkaCases>);
}

TEST_F(Cases, EnumeratorsHaveTheirNumbers) {
  EXPECT_THAT((std::vector<int>{CkaCases::_CS_SUBSTR, CkaCases::_CS_STRLEN, CkaCases::_CS_OPERATION,
                                CkaCases::_CS_AND, CkaCases::_CS_OR, CkaCases::_CS_NOR,
                                CkaCases::_CS_NAND}),
              ElementsAre(0, 1, 2, 3, 4, 5, 6));
  EXPECT_THAT((std::vector<int>{CkaCases::_CST_NUMBER, CkaCases::_CST_STRING}), ElementsAre(0, 1));
  EXPECT_THAT((std::vector<int>{CkaCases::_CSO_LT, CkaCases::_CSO_GT, CkaCases::_CSO_LE,
                                CkaCases::_CSO_GE, CkaCases::_CSO_NE, CkaCases::_CSO_EQ,
                                CkaCases::_CSO_HAS, CkaCases::_CSO_HASNOT}),
              ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
}

TEST_F(Cases, FreshRecordIsInitialised) {
  const CkaCases::kaCaseStruct record;
  EXPECT_EQ(record.Id + record.FirstValRef + record.SecondVal, "");
  EXPECT_EQ(record.TreatAs, -1);
  EXPECT_EQ(record.Operator, -1);
  EXPECT_EQ(record.Begin, 0);
  EXPECT_EQ(record.End, 0);
  EXPECT_THAT(record.CaseRefs, IsEmpty());
}

// Simple cases.

TEST_F(Cases, SubstringCaseIsReadWithAllItHas) {
  ASSERT_TRUE(
      Read("<Case id='late' substr='delay' type='number' operator='ge' begin='2' end='5' "
           "value='10'/>"));
  EXPECT_EQ(Output, Nothing());
  ASSERT_EQ(Document.GetCaseCount(), 1);
  EXPECT_EQ(Document.GetTypeAt(0), CkaCases::_CS_SUBSTR);
  EXPECT_EQ(Document.GetIdAt(0), "late");
  EXPECT_EQ(Document.GetFirstValRefAt(0), "delay");
  EXPECT_EQ(Document.GetSecondValAt(0), "10");
  EXPECT_EQ(Document.GetBeginAt(0), 2);
  EXPECT_EQ(Document.GetEndAt(0), 5);
  EXPECT_EQ(Document.GetTreatAsAt(0), CkaCases::_CST_NUMBER);
  EXPECT_EQ(Document.GetOperatorAt(0), CkaCases::_CSO_GE);
  EXPECT_THAT(Document.GetCaseRefsAt(0), IsEmpty());
}

TEST_F(Cases, LengthCaseIsReadWithAllItHas) {
  ASSERT_TRUE(
      Read("<Case id='long' strlen='platform' type='number' operator='gt' begin='2' "
           "end='5' value='3'/>"));
  EXPECT_EQ(Document.GetTypeAt(0), CkaCases::_CS_STRLEN);
  EXPECT_EQ(Document.GetIdAt(0), "long");
  EXPECT_EQ(Document.GetFirstValRefAt(0), "platform");
  EXPECT_EQ(Document.GetSecondValAt(0), "3");
  EXPECT_EQ(Document.GetOperatorAt(0), CkaCases::_CSO_GT);
  EXPECT_EQ(Document.GetTreatAsAt(0), CkaCases::kUnset);
  EXPECT_EQ(Document.GetBeginAt(0), 0);
  EXPECT_EQ(Document.GetEndAt(0), 0);
}

TEST_F(Cases, MissingAttributesAreEmptyOrZero) {
  ASSERT_TRUE(Read("<Case substr='' type='string' operator='eq'/>"));
  EXPECT_EQ(Document.GetIdAt(0) + Document.GetFirstValRefAt(0) + Document.GetSecondValAt(0), "");
  EXPECT_EQ(Document.GetBeginAt(0), 0);
  EXPECT_EQ(Document.GetEndAt(0), 0);
}

TEST_F(Cases, SubstrWinsOverStrlen) {
  ASSERT_TRUE(Read("<Case id='x' strlen='b' substr='a' type='string' operator='eq'/>"));
  EXPECT_EQ(Document.GetTypeAt(0), CkaCases::_CS_SUBSTR);
  EXPECT_EQ(Document.GetFirstValRefAt(0), "a");
}

TEST_F(Cases, TypeKnowsTwoSpellingsOfEachWord) {
  const struct {
    const char* Type;
    int TreatAs;
  } types[] = {{"number", CkaCases::_CST_NUMBER},
               {"Number", CkaCases::_CST_NUMBER},
               {"string", CkaCases::_CST_STRING},
               {"String", CkaCases::_CST_STRING}};
  for (const auto& [type, treatAs] : types) {
    ASSERT_TRUE(Read(SubstrCase("operator='eq' type='" + std::string(type) + "'"))) << type;
    EXPECT_EQ(Output, Nothing()) << type;
    EXPECT_EQ(Document.GetTreatAsAt(0), treatAs) << type;
  }
}

TEST_F(Cases, UnknownTypeIsReportedAndTheCaseIsStillRead) {
  for (const char* type : {"NUMBER", "STRING", "int", "", " number"}) {
    ASSERT_TRUE(Read(SubstrCase("operator='eq' type='" + std::string(type) + "'"))) << type;
    EXPECT_EQ(Output, OnlyErr("Falsche Fallbeschreibung (XML)\n")) << type;
    EXPECT_EQ(Document.GetTypeAt(0), CkaCases::_CS_SUBSTR);
    EXPECT_EQ(Document.GetTreatAsAt(0), CkaCases::kUnset);
    EXPECT_EQ(Document.GetSecondValAt(0), "v");
  }
  ASSERT_TRUE(Read(SubstrCase("operator='eq'")));
  EXPECT_EQ(Output, OnlyErr("Falsche Fallbeschreibung (XML)\n"));
}

TEST_F(Cases, ComparisonsOfSubstringCases) {
  const char* names[] = {"lt", "gt", "le", "ge", "ne", "eq", "has", "hasnot"};
  for (int i = 0; i < 8; ++i) {
    ASSERT_TRUE(Read(SubstrCase("type='string' operator='" + std::string(names[i]) + "'")));
    EXPECT_EQ(Document.GetOperatorAt(0), i) << names[i];
  }
}

TEST_F(Cases, HasOfANumberCaseIsRejected) {
  EXPECT_FALSE(AcceptsSubstr("type='number' operator='has'"));
  EXPECT_EQ(Output, Nothing());
  EXPECT_FALSE(AcceptsSubstr("type='number' operator='hasnot'"));
  EXPECT_TRUE(AcceptsSubstr("type='string' operator='has'"));
  EXPECT_EQ(Document.GetOperatorAt(1), CkaCases::_CSO_HAS);
}

TEST_F(Cases, HasOfAnUnknownTypeIsRejected) {
  EXPECT_FALSE(AcceptsSubstr("type='text' operator='has'"));
  EXPECT_EQ(Output, OnlyErr("Falsche Fallbeschreibung (XML)\n"));
}

TEST_F(Cases, UnknownComparisonIsRejected) {
  for (const char* name : {"", "EQ", "==", "has ", "HAS", "AND", "between"}) {
    EXPECT_FALSE(AcceptsSubstr("type='string' operator='" + std::string(name) + "'")) << name;
    EXPECT_EQ(Output, Nothing()) << name;
  }
  EXPECT_FALSE(AcceptsSubstr("type='string'"));
}

TEST_F(Cases, ComparisonsOfLengthCases) {
  const char* names[] = {"lt", "gt", "le", "ge", "ne", "eq"};
  for (int i = 0; i < 6; ++i) {
    ASSERT_TRUE(Read("<Case id='x' strlen='a' operator='" + std::string(names[i]) + "'/>"));
    EXPECT_EQ(Document.GetOperatorAt(0), i) << names[i];
  }
}

TEST_F(Cases, HasOfALengthCaseIsRejected) {
  for (const char* name : {"has", "hasnot", "", "GT", "AND"}) {
    EXPECT_FALSE(Read("<Case id='x' strlen='a' operator='" + std::string(name) + "'/>")) << name;
    EXPECT_EQ(Document.GetCaseCount(), 0) << name;
  }
}

TEST_F(Cases, SimpleCasesWithOneIdAreAllKept) {
  ASSERT_TRUE(
      Read("<Case id='x' strlen='a' operator='eq'/><Case id='x' strlen='b' "
           "operator='eq'/>"));
  ASSERT_EQ(Document.GetCaseCount(), 2);
  EXPECT_EQ(Document.GetFirstValRefAt(0) + Document.GetFirstValRefAt(1), "ab");
}

TEST_F(Cases, CasesKnowTheNumberOfTheirElement) {
  ASSERT_TRUE(
      Read(Operation("op", {"s"}) + "<Case id='bad' substr='a' operator='none'/>" + kSimple));
  ASSERT_EQ(Document.GetCaseCount(), 3);
  EXPECT_EQ(Document.GetCaseAt(0).Id, "s");
  EXPECT_EQ(Document.GetCaseAt(0).Element, 2U);
  EXPECT_EQ(Document.GetCaseAt(1).Id, "op");
  EXPECT_EQ(Document.GetCaseAt(1).Element, 0U);
  EXPECT_EQ(Document.GetCaseAt(2).Element, 1U);
}

TEST_F(Cases, ReadForSubstrAndReadForStrlenFillARecord) {
  ASSERT_TRUE(Document.Initialize(DocumentOf(SubstrCase("type='string' operator='has'") + kSimple),
                                  false, true));
  Document.SetMainNodes();
  const xmlpp::NodeSet nodes = Document.FindNodes(Document.pAssemNode, "Case");
  ASSERT_EQ(nodes.size(), 2U);
  CkaCases::kaCaseStruct record;
  EXPECT_TRUE(Document.ReadForSubstr(record, nodes[0]));
  EXPECT_EQ(record.Id + record.FirstValRef + record.SecondVal, "xav");
  EXPECT_EQ(record.Operator, CkaCases::_CSO_HAS);
  CkaCases::kaCaseStruct other;
  EXPECT_TRUE(Document.ReadForStrlen(other, nodes[1]));
  EXPECT_EQ(other.Id + other.FirstValRef + other.SecondVal, "sa1");
  EXPECT_FALSE(Document.ReadForStrlen(other, nodes[0]));
  EXPECT_EQ(Document.GetCaseCount(), 0);
}

// Combining cases.

TEST_F(Cases, OnlyOperationCasesYieldFalseAndNothing) {
  EXPECT_FALSE(Read(Operation("a", {}) + Operation("b", {"a"})));
  EXPECT_EQ(Document.GetCaseCount(), 0);
  EXPECT_EQ(Output, Nothing());
  EXPECT_FALSE(Read(""));
}

TEST_F(Cases, OperationCaseIsReadWithAllItHas) {
  ASSERT_TRUE(Read(Operation("op", {"s", "s"}, "operator='NOR' value='1' type='x'") + kSimple));
  EXPECT_EQ(Output, Nothing());
  ASSERT_EQ(Document.GetCaseCount(), 2);
  EXPECT_EQ(Document.GetTypeAt(1), CkaCases::_CS_OPERATION);
  EXPECT_EQ(Document.GetIdAt(1), "op");
  EXPECT_EQ(Document.GetOperatorAt(1), CkaCases::_CS_NOR);
  EXPECT_THAT(Document.GetCaseRefsAt(1), ElementsAre("s", "s"));
  EXPECT_EQ(Document.GetFirstValRefAt(1) + Document.GetSecondValAt(1), "");
  EXPECT_EQ(Document.GetTreatAsAt(1), CkaCases::kUnset);
}

TEST_F(Cases, OperatorsOfOperationCases) {
  const struct {
    const char* Attributes;
    int Operator;
  } operators[] = {{"operator='AND'", CkaCases::_CS_AND},  {"operator='OR'", CkaCases::_CS_OR},
                   {"operator='NOR'", CkaCases::_CS_NOR},  {"operator='NAND'", CkaCases::_CS_NAND},
                   {"operator='NOT'", CkaCases::_CS_NAND}, {"", CkaCases::_CS_AND},
                   {"operator=''", CkaCases::kUnset},      {"operator='and'", CkaCases::kUnset},
                   {"operator='XOR'", CkaCases::kUnset},   {"operator='eq'", CkaCases::kUnset}};
  for (const auto& [attributes, expected] : operators) {
    ASSERT_TRUE(Read(kSimple + Operation("op", {"s"}, attributes)));
    EXPECT_EQ(Document.GetOperatorAt(1), expected) << attributes;
  }
}

TEST_F(Cases, NotIsReadAsNand) {
  ASSERT_TRUE(Read(kSimple + Operation("a", {"s", "s"}, "operator='NOT'") +
                   Operation("b", {"s", "s"}, "operator='NAND'")));
  EXPECT_EQ(Document.GetOperatorAt(1), Document.GetOperatorAt(2));
}

TEST_F(Cases, OperationWithoutAnOperatorIsAnAnd) {
  ASSERT_TRUE(Read(kSimple + Operation("op", {"s"}, "")));
  EXPECT_EQ(Document.GetOperatorAt(1), CkaCases::_CS_AND);
}

TEST_F(Cases, ChainInReverseOrderEndsInOrder) {
  ASSERT_TRUE(
      Read(Operation("C", {"B"}) + Operation("B", {"A"}) + Operation("A", {"s"}) + kSimple));
  EXPECT_THAT(IdsOf(Document), ElementsAre("s", "A", "B", "C"));
}

TEST_F(Cases, CasesOfOnePassAreVisibleWithinIt) {
  ASSERT_TRUE(Read(kSimple + Operation("late", {"b"}) + Operation("a", {"s"}) +
                   Operation("b", {"a"}) + Operation("c", {"b"})));
  EXPECT_THAT(IdsOf(Document), ElementsAre("s", "a", "b", "c", "late"));
}

TEST_F(Cases, CycleIsDroppedAndTheRestIsRead) {
  ASSERT_TRUE(Read(kSimple + Operation("a", {"b"}) + Operation("b", {"a"}) +
                   Operation("self", {"self"}) + Operation("user", {"a"}) +
                   Operation("rest", {"s"})));
  EXPECT_EQ(Output, Nothing());
  EXPECT_THAT(IdsOf(Document), ElementsAre("s", "rest"));
}

TEST_F(Cases, UnknownReferenceDropsTheCase) {
  ASSERT_TRUE(Read(kSimple + Operation("a", {"s", "none"}) +
                   "<Case id='b'><Case/></Case><Case id='c'><Case ref='s'/><x><Case "
                   "ref='none'/></x></Case>"));
  EXPECT_EQ(Output, Nothing());
  EXPECT_THAT(IdsOf(Document), ElementsAre("s", "c"));
  EXPECT_THAT(Document.GetCaseRefsAt(1), ElementsAre("s"));
}

TEST_F(Cases, OperationWithoutReferencesIsReadAtOnce) {
  ASSERT_TRUE(Read("<Case id='empty'/>" + std::string(kSimple)));
  EXPECT_THAT(IdsOf(Document), ElementsAre("s", "empty"));
  EXPECT_EQ(Document.GetTypeAt(1), CkaCases::_CS_OPERATION);
  EXPECT_THAT(Document.GetCaseRefsAt(1), IsEmpty());
}

TEST_F(Cases, RejectedSimpleCaseComesBackAsAnEmptyOperation) {
  ASSERT_TRUE(Read("<Case id='x' strlen='a' operator='has' value='1'/>" + std::string(kSimple) +
                   Operation("user", {"x"})));
  EXPECT_THAT(IdsOf(Document), ElementsAre("s", "x", "user"));
  EXPECT_EQ(Document.GetTypeAt(1), CkaCases::_CS_OPERATION);
  EXPECT_EQ(Document.GetOperatorAt(1), CkaCases::kUnset);
  EXPECT_EQ(Document.GetFirstValRefAt(1) + Document.GetSecondValAt(1), "");
  EXPECT_THAT(Document.GetCaseRefsAt(1), IsEmpty());
}

TEST_F(Cases, RepeatedIdOfAnOperationIsSkipped) {
  ASSERT_TRUE(Read(kSimple + Operation("a", {"s"}, "operator='OR'") + Operation("a", {}) +
                   Operation("s", {})));
  EXPECT_THAT(IdsOf(Document), ElementsAre("s", "a"));
  EXPECT_EQ(Document.GetOperatorAt(1), CkaCases::_CS_OR);
}

TEST_F(Cases, OnlyDirectChildrenOfTheFirstAssemblyAreCases) {
  ASSERT_TRUE(Document.Initialize("<doc><Case id='r' strlen='a' operator='eq'/><Assembly><x>" +
                                      std::string(kSimple) +
                                      "</x><Case id='a' strlen='a' operator='eq'/></Assembly>"
                                      "<Assembly>" +
                                      kSimple + "</Assembly></doc>",
                                  false, true));
  ASSERT_TRUE(Document.ReadCases());
  EXPECT_THAT(IdsOf(Document), ElementsAre("a"));
}

TEST_F(Cases, ReadingAgainStartsAfresh) {
  ASSERT_TRUE(Read(kSimple + Operation("a", {"s"})));
  ASSERT_TRUE(Document.ReadCases());
  EXPECT_THAT(IdsOf(Document), ElementsAre("s", "a"));
  EXPECT_FALSE(Read(Operation("b", {"s"})));
  EXPECT_EQ(Document.GetCaseCount(), 0);
}

TEST_F(Cases, StepsReturnTheNumberOfCases) {
  ASSERT_TRUE(Document.Initialize(
      DocumentOf(Operation("a", {"s"}) + kSimple + SubstrCase("type='string' operator='eq'")),
      false, true));
  Document.SetMainNodes();
  EXPECT_EQ(Document.ReadUnrelated(), 2);
  EXPECT_EQ(Document.ReadRelated(), 3);
  EXPECT_TRUE(Document.GetCaseData());
  EXPECT_EQ(Document.GetCaseCount(), 3);
}

TEST_F(Cases, IdsAreFoundExactly) {
  ASSERT_TRUE(Read(kSimple + Operation("a", {"s"})));
  EXPECT_TRUE(Document.ExistsIdInDoneCases("s"));
  EXPECT_TRUE(Document.ExistsIdInDoneCases(std::string("a")));
  for (const char* id : {"S", "A", "", "s "})
    EXPECT_FALSE(Document.ExistsIdInDoneCases(id)) << id;
}

TEST_F(Cases, IndexOutsideTheListThrows) {
  ASSERT_TRUE(Read(kSimple));
  for (const int i : {-1, 1, INT_MAX, INT_MIN}) {
    EXPECT_THROW(Document.GetTypeAt(i), std::out_of_range);
    EXPECT_THROW(Document.GetIdAt(i), std::out_of_range);
    EXPECT_THROW(Document.GetFirstValRefAt(i), std::out_of_range);
    EXPECT_THROW(Document.GetSecondValAt(i), std::out_of_range);
    EXPECT_THROW(Document.GetBeginAt(i), std::out_of_range);
    EXPECT_THROW(Document.GetEndAt(i), std::out_of_range);
    EXPECT_THROW(Document.GetTreatAsAt(i), std::out_of_range);
    EXPECT_THROW(Document.GetOperatorAt(i), std::out_of_range);
    EXPECT_THROW(Document.GetCaseRefsAt(i), std::out_of_range);
  }
}

TEST_F(Cases, MissingAssemblyThrows) {
  ASSERT_TRUE(Document.Initialize("<doc><Case/></doc>", false, true));
  EXPECT_THROW(Document.ReadCases(), std::out_of_range);
}

TEST_F(Cases, UninitialisedReaderSaysSoWithoutALineEnd) {
  EXPECT_EQ(OutputOf([&] { Document.SetMainNodes(); }), OnlyErr("Erst XML initialisieren"));
  EXPECT_EQ(Document.pRootNode, nullptr);
  EXPECT_EQ(Document.pAssemNode, nullptr);
}

TEST_F(Cases, RandomDocumentsAreSortedAsByThePlainCode) {
  for (unsigned int seed = 0; seed < 1500; ++seed) {
    std::mt19937 random(seed);
    const std::vector<CaseElement> elements = RandomElements(random);
    std::string text;
    for (const CaseElement& element : elements)
      text += element.Text();
    const bool result = Read(text);
    const std::vector<ExpectedCase> expected = SortPlainly(elements);
    ASSERT_EQ(result, !expected.empty()) << text;
    ASSERT_EQ(Sorted(Document), expected) << text;
  }
}

TEST_F(Cases, TenThousandCasesInReverseOrderAreSorted) {
  std::string text;
  for (int i = 9999; i > 0; --i) {
    text += Operation("o" + std::to_string(i), {"o" + std::to_string(i - 1)});
  }
  text += Operation("o0", {"s9999"});
  for (int i = 0; i < 10000; ++i) {
    text += "<Case id='s" + std::to_string(i) + "' strlen='a' operator='eq' value='1'/>";
  }
  ASSERT_TRUE(Read(text));
  ASSERT_EQ(Document.GetCaseCount(), 20000);
  for (int i = 0; i < 10000; ++i) {
    ASSERT_EQ(Document.GetIdAt(i), "s" + std::to_string(i));
    ASSERT_EQ(Document.GetIdAt(10000 + i), "o" + std::to_string(i));
  }
}

TEST_F(Cases, TenThousandCasesInACycleAreDropped) {
  std::string text = kSimple;
  for (int i = 0; i < 10000; ++i) {
    text += Operation("o" + std::to_string(i), {"o" + std::to_string((i + 1) % 10000)});
  }
  ASSERT_TRUE(Read(text));
  EXPECT_EQ(Document.GetCaseCount(), 1);
}
