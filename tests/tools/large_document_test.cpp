#include "large_document.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "demo_station.h"
#include "program.h"

namespace toolstest {

namespace {

constexpr std::size_t kCount = 3000;
constexpr std::size_t kMegabyte = 1'000'000;

/// A station that has nothing but a large document.
class LargeDocumentCheck : public ::testing::Test {
 protected:
  LargeDocumentCheck() {
    for (const char* unused : {"lexidata/de", "lexidata/en", "announcements/sounds/gong.wav"})
      std::filesystem::remove_all(demo.Sub(unused));
    demo.Write("announcements/station.xml", document);
  }
  nlohmann::json Findings() const {
    const Ended ended = RunTool({"check", "--station", demo.Dir(), "--json"});
    return nlohmann::json::parse(ended.Out).at("findings");
  }

  DemoStation demo;
  std::string document = LargeDocument(kCount);
};

TEST_F(LargeDocumentCheck, MegabyteWithoutAMistakeHasNoFindingButItsManyAttributes) {
  EXPECT_GT(document.size(), kMegabyte);
  const nlohmann::json findings = Findings();
  ASSERT_EQ(findings.size(), 1U) << findings;
  EXPECT_EQ(findings[0].at("rule"), "largest-block-too-large");
}

TEST_F(LargeDocumentCheck, MistakeInAMegabyteIsFoundAtItsLine) {
  const std::string last = "<Speech id=\"element2999\"";
  const std::size_t at = document.rfind(last);
  demo.Write("announcements/station.xml", document.replace(at, last.size(), "<Speech id=\"none\""));
  const auto line =
      1 + std::count(document.begin(), document.begin() + static_cast<long>(at), '\n');
  const nlohmann::json findings = Findings();
  const auto found = std::find_if(
      findings.begin(), findings.end(),
      [](const nlohmann::json& finding) { return finding.at("rule") == "speech-unknown-element"; });
  ASSERT_NE(found, findings.end());
  EXPECT_EQ(found->at("line"), line);
}

TEST_F(LargeDocumentCheck, ThousandsOfMistakesAreFoundEach) {
  const std::string known = "<Speech id=\"element";
  for (std::size_t at = document.find(known); at != std::string::npos;
       at = document.find(known, at)) {
    document.replace(at, known.size(), "<Speech id=\"elment");
  }
  demo.Write("announcements/station.xml", document);
  const nlohmann::json findings = Findings();
  EXPECT_EQ(std::count_if(findings.begin(), findings.end(),
                          [](const nlohmann::json& finding) {
                            return finding.at("rule") == "speech-unknown-element";
                          }),
            2 * (kCount + 1));
}

}  // namespace

}  // namespace toolstest
