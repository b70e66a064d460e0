#include "kaOutput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "output_of.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

kaReport OutReport(const std::string& text) {
  return {kaStream::Out, text};
}
kaReport ErrReport(const std::string& text) {
  return {kaStream::Err, text};
}

/// A long line of one letter.
std::string LineOf(char letter) {
  return std::string(300, letter) + "\n";
}

}  // namespace

TEST(Output, PrintOutWritesToStandardOutput) {
  EXPECT_EQ(OutputOf([] { PrintOut("text without end"); }), OnlyOut("text without end"));
  EXPECT_EQ(OutputOf([] { PrintOut("%s%n\\n\n"); }), OnlyOut("%s%n\\n\n"));
}

TEST(Output, PrintErrWritesToStandardError) {
  EXPECT_EQ(OutputOf([] { PrintErr("text"); }), OnlyErr("text"));
}

TEST(Output, TextStaysAsItStands) {
  const std::string text("\0\x1b\xff\r\n\0", 6);
  EXPECT_EQ(OutputOf([&] { PrintOut(text); }), OnlyOut(text));
  EXPECT_EQ(OutputOf([&] { PrintErr(text); }), OnlyErr(text));
  EXPECT_EQ(OutputOf([] { PrintOut(""); }), Nothing());
}

TEST(Output, LongTextIsWrittenWhole) {
  const std::string text(1 << 20, 'x');
  EXPECT_TRUE(OutputOf([&] { PrintOut(text); }) == OnlyOut(text));
  EXPECT_TRUE(OutputOf([&] { PrintErr(text); }) == OnlyErr(text));
}

TEST(Output, PartsOfAReportAreOneReport) {
  EXPECT_EQ(OutputOf([] {
              PrintErr({"Port: ", "5701", "", " --- text\n"});
            }),
            OnlyErr("Port: 5701 --- text\n"));
  EXPECT_EQ(OutputOf([] { PrintOut({"one ", "", "report\n"}); }), OnlyOut("one report\n"));
  std::vector<kaReport> reports;
  {
    const kaOutputCapture capture(reports);
    PrintErr({"one ", "report"});
    PrintOut({"another ", "one"});
  }
  EXPECT_THAT(reports, ElementsAre(ErrReport("one report"), OutReport("another one")));
}

TEST(Output, ReportsOfSeveralThreadsDoNotMix) {
  const std::string letters = "abcd";
  const std::size_t count = 500;
  const std::string written = OutputOf([&] {
                                std::vector<std::thread> threads;
                                for (const char letter : letters) {
                                  threads.emplace_back([letter] {
                                    for (std::size_t i = 0; i < count; ++i)
                                      PrintOut(LineOf(letter));
                                  });
                                }
                                for (std::thread& thread : threads)
                                  thread.join();
                              }).Out;
  std::istringstream lines(written);
  std::vector<std::size_t> found(letters.size());
  for (std::string line; std::getline(lines, line);) {
    const std::size_t letter = letters.find(line.at(0));
    ASSERT_LT(letter, letters.size());
    ASSERT_EQ(line + "\n", LineOf(letters[letter]));
    ++found[letter];
  }
  EXPECT_THAT(found, testing::Each(count));
}

TEST(Output, PrintReportsWritesEachToItsStream) {
  EXPECT_EQ(OutputOf([] {
              PrintReports({OutReport("a"), ErrReport("b"), OutReport("c")});
            }),
            (Printed{"ac", "b"}));
  EXPECT_EQ(OutputOf([] { PrintReports({}); }), Nothing());
}

TEST(OutputCapture, KeepsReportsInTheirOrder) {
  std::vector<kaReport> reports;
  EXPECT_EQ(OutputOf([&] {
              const kaOutputCapture capture(reports);
              PrintOut("a");
              PrintErr("b");
              PrintOut("c");
            }),
            Nothing());
  EXPECT_THAT(reports, ElementsAre(OutReport("a"), ErrReport("b"), OutReport("c")));
}

TEST(OutputCapture, AppendsToWhatIsThere) {
  std::vector<kaReport> reports{OutReport("before")};
  {
    const kaOutputCapture capture(reports);
    PrintErr("after");
  }
  EXPECT_THAT(reports, ElementsAre(OutReport("before"), ErrReport("after")));
}

TEST(OutputCapture, EndsWithItsLife) {
  std::vector<kaReport> reports;
  { const kaOutputCapture capture(reports); }
  EXPECT_EQ(OutputOf([] { PrintOut("a"); }), OnlyOut("a"));
  EXPECT_THAT(reports, IsEmpty());
}

TEST(OutputCapture, InnermostReceives) {
  std::vector<kaReport> outer;
  std::vector<kaReport> inner;
  {
    const kaOutputCapture first(outer);
    PrintOut("1");
    {
      const kaOutputCapture second(inner);
      PrintOut("2");
    }
    PrintOut("3");
  }
  EXPECT_THAT(outer, ElementsAre(OutReport("1"), OutReport("3")));
  EXPECT_THAT(inner, ElementsAre(OutReport("2")));
}

TEST(OutputCapture, TakesPrintedReportsToo) {
  std::vector<kaReport> reports;
  {
    const kaOutputCapture capture(reports);
    PrintReports({ErrReport("a")});
  }
  EXPECT_THAT(reports, ElementsAre(ErrReport("a")));
}

TEST(OutputCapture, OtherThreadsPrintOn) {
  std::vector<kaReport> reports;
  EXPECT_EQ(OutputOf([&] {
              const kaOutputCapture capture(reports);
              std::thread([] { PrintOut("other"); }).join();
            }),
            OnlyOut("other"));
  EXPECT_THAT(reports, IsEmpty());
}

TEST(JoinedOutput, WritesEverythingInItsOrderAtItsEnd) {
  std::vector<kaReport> reports;
  {
    const kaOutputCapture capture(reports);
    {
      const kaJoinedOutput joined;
      PrintOut("a");
      PrintOut({"", "b"});
      PrintErr("c");
      PrintOut({"d"});
      EXPECT_THAT(reports, IsEmpty());
    }
  }
  EXPECT_THAT(reports, ElementsAre(OutReport("ab"), ErrReport("c"), OutReport("d")));
}

TEST(JoinedOutput, WritesAlsoWhenAnExceptionEndsIt) {
  EXPECT_EQ(OutputOf([] {
              try {
                const kaJoinedOutput joined;
                PrintOut("before");
                throw std::runtime_error("end");
              } catch (const std::runtime_error&) {
                PrintOut(" after");
              }
            }),
            OnlyOut("before after"));
}
