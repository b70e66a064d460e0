#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "coverage_station.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

/// The page of the fixture; its numbers are those of coverage_test.cpp.
class CoveragePage : public CoverageStation {
 protected:
  std::string Page(std::vector<std::string> arguments = {}) const {
    const std::string file = station.Sub("page.html");
    arguments.insert(arguments.end(), {"--html", file, blocks});
    EXPECT_EQ(Coverage(arguments).Status, 0);
    return support::ReadFile(file);
  }
};

TEST_F(CoveragePage, NeedsNothingElse) {
  const std::string page = Page();
  for (const char* foreign : {"http:", "https:", "src=", "url(", "@import", "<link", "<iframe"})
    EXPECT_THAT(page, Not(HasSubstr(foreign)));
}

TEST_F(CoveragePage, IsTheSameEachTime) {
  EXPECT_EQ(Page(), Page());
}

TEST_F(CoveragePage, SpeaksTheLanguageThatIsAskedFor) {
  EXPECT_THAT(Page(), HasSubstr("<html lang=\"en\">"));
  const std::string page = Page({"--lang=de"});
  EXPECT_THAT(page, HasSubstr("<html lang=\"de\">"));
  EXPECT_THAT(page, HasSubstr("Nie erreicht"));
  EXPECT_THAT(page, HasSubstr("65,5&nbsp;%"));
}

TEST_F(CoveragePage, LinesOfTheDocumentCarryTheirMarks) {
  const std::string page = Page();
  const auto line = [&page](int number) {
    const std::size_t at = page.find("<tr id=\"source-" + std::to_string(number) + "\"");
    return at == std::string::npos ? "" : page.substr(at, page.find("</tr>", at) - at);
  };
  EXPECT_THAT(line(1), Not(HasSubstr("class=\"hit\"")));
  EXPECT_THAT(line(18), HasSubstr("class=\"hit\""));
  EXPECT_THAT(line(18), HasSubstr("<span class=\"k\">2</span>"));
  EXPECT_THAT(line(18), HasSubstr("&lt;Speech id=&quot;gong&quot;/>"));
  EXPECT_THAT(line(20), HasSubstr("class=\"hit\"")) << "the start tag of the condition";
  EXPECT_THAT(line(24), HasSubstr("class=\"miss\""));
  EXPECT_THAT(line(24), HasSubstr("<span class=\"k\">0</span>"));
  EXPECT_THAT(line(30), HasSubstr("class=\"part\""))
      << "a silent phrase and the announcement's end";
  EXPECT_THAT(line(37), HasSubstr("class=\"hit\""));
  EXPECT_THAT(line(37), HasSubstr("<span class=\"k\">2/2</span>"));
  EXPECT_THAT(line(38), HasSubstr("class=\"part\""));
  EXPECT_THAT(line(38), HasSubstr("<span class=\"k\">0/4</span>"));
  EXPECT_THAT(line(39), HasSubstr("class=\"part\"")) << "second line of the same tag";
  EXPECT_THAT(line(44), HasSubstr("&lt;/Station>"));
  EXPECT_THAT(line(45), "");
}

TEST_F(CoveragePage, LexicaHaveSectionsOfTheirOwn) {
  const std::string page = Page();
  EXPECT_THAT(page, HasSubstr("<section id=\"lexicon1\"><h2>lexidata/de/stations</h2>"));
  EXPECT_THAT(page, HasSubstr("<tr id=\"lexicon1-2\" class=\"hit\">"));
  EXPECT_THAT(page, HasSubstr("<tr id=\"lexicon1-4\" class=\"miss\">"));
  EXPECT_THAT(page, HasSubstr("Str.=&quot;Straße&quot;"));
}

TEST_F(CoveragePage, BytesThatAreNoUtf8AreShownAllTheSame) {
  station.Write("lexidata/de/stations",
                "Str.=\"Stra\xDF"
                "e\x1b\"\n");
  EXPECT_THAT(Page(), HasSubstr("Str.=&quot;Straße\xE2\x90\x9B&quot;"));
}

TEST_F(CoveragePage, NamesFromOutsideAreNoMarkup) {
  const std::string block = station.Write("<b>&.xml", "<rbl/>");
  const std::string file = station.Sub("page.html");
  Coverage({"--html", file, block});
  EXPECT_THAT(support::ReadFile(file), HasSubstr("&lt;b>&amp;.xml"));
}

// ---- In a browser ----

/// What a script in the browser finds on the page in one width and one colour scheme.
constexpr const char* kMeasure = R"JS(
function channel(c){c/=255;return c<=0.03928?c/12.92:Math.pow((c+0.055)/1.055,2.4)}
function rgb(text){return text.match(/[\d.]+/g).map(Number)}
function light(c){return 0.2126*channel(c[0])+0.7152*channel(c[1])+0.0722*channel(c[2])}
function ground(view,e){for(;e;e=e.parentElement){const c=rgb(view.getComputedStyle(e).backgroundColor);
if(c.length<4||c[3]>0)return c}return [255,255,255]}
function contrast(view,e){const a=light(rgb(view.getComputedStyle(e).color)),b=light(ground(view,e));
return (Math.max(a,b)+0.05)/(Math.min(a,b)+0.05)}
function measure(frame){
const doc=frame.contentDocument,view=frame.contentWindow,root=doc.documentElement;
let least=99;
for(const e of doc.body.querySelectorAll("*")){
if([...e.childNodes].some(n=>n.nodeType===3&&n.data.trim())&&!e.closest("script"))
least=Math.min(least,contrast(view,e))}
const kinds={};
for(const row of doc.querySelectorAll("tr[data-kind]"))
kinds[row.dataset.kind]=[...row.querySelectorAll("td")].slice(0,3).map(c=>c.textContent.replace(/\s/," "));
const code=doc.querySelector("#source .scroll"),first=code.querySelector("th");
const before=first.getBoundingClientRect().left;code.scrollLeft=50;
return {width:view.innerWidth,overflow:root.scrollWidth-root.clientWidth,least,kinds,
dark:light(rgb(view.getComputedStyle(doc.body).backgroundColor))<0.2,
codeOverflow:code.scrollWidth-code.clientWidth,gutterMoves:first.getBoundingClientRect().left-before,
canFocus:code.tabIndex,hits:doc.querySelectorAll("#source .hit[id]").length,
parts:doc.querySelectorAll("#source .part[id]").length,
misses:doc.querySelectorAll("#source .miss[id]").length,
broken:[...doc.querySelectorAll("a[href]")].filter(a=>!doc.querySelector(a.getAttribute("href"))).length}}
)JS";

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text)
    escaped += c == '&' ? "&amp;" : c == '"' ? "&quot;" : std::string(1, c);
  return escaped;
}

/// A page that holds `page` as on a desk and on a phone, light and dark, and the measures of each.
std::string Measuring(const std::string& page) {
  std::string html = "<!DOCTYPE html><meta charset=\"utf-8\"><body>";
  for (const char* width : {"1280", "390"}) {
    for (const char* scheme : {"light", "dark"}) {
      html += "<iframe style=\"border:0;height:900px;width:" + std::string(width) +
              "px;color-scheme:" + scheme + "\" srcdoc=\"" + Escaped(page) + "\"></iframe>";
    }
  }
  return html + "<pre id=\"measured\"></pre><script>" + kMeasure +
         "addEventListener('load',()=>{document.body.querySelector('#measured').textContent="
         "JSON.stringify([...document.querySelectorAll('iframe')].map(measure))})"
         "</script></body>";
}

std::string FindBrowser() {
  std::istringstream path(std::getenv("PATH") == nullptr ? "" : std::getenv("PATH"));
  for (std::string directory; std::getline(path, directory, ':');)
    if (std::filesystem::exists(directory + "/chromium")) return directory + "/chromium";
  return "";
}

TEST_F(CoveragePage, IsLegibleAndStaysInItsWidthInABrowser) {
  const std::string browser = FindBrowser();
  if (browser.empty()) GTEST_SKIP() << "no browser: scripts/install-deps browser";
  const std::string file = station.Write("measuring.html", Measuring(Page()));
  const Ended ended = RunToolAt(
      browser, {"--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                "--no-first-run", "--disable-background-networking", "--disable-component-update",
                "--disable-sync", "--disable-quic", "--user-data-dir=" + station.Sub("browser"),
                "--dump-dom", "file://" + file});
  const std::string mark = "<pre id=\"measured\">";
  const std::size_t begin = ended.Out.find(mark);
  ASSERT_NE(begin, std::string::npos) << ended.Err;
  const std::string measured = ended.Out.substr(begin + mark.size());
  const json views = json::parse(measured.substr(0, measured.find("</pre>")));
  ASSERT_EQ(views.size(), 4U);
  for (std::size_t i = 0; i < views.size(); ++i) {
    const json& view = views.at(i);
    SCOPED_TRACE(view.dump());
    EXPECT_EQ(view.at("width"), i < 2 ? 1280 : 390);
    EXPECT_EQ(view.at("dark"), i % 2 == 1);
    EXPECT_EQ(view.at("overflow"), 0);
    EXPECT_GE(view.at("least").get<double>(), 4.5);
    EXPECT_EQ(view.at("canFocus"), 0);
    EXPECT_EQ(view.at("gutterMoves"), 0) << "line numbers stay when the code is scrolled";
    EXPECT_EQ(view.at("broken"), 0) << "links without a target";
    EXPECT_EQ(view.at("kinds"), json::parse(R"({
        "announcements": ["2", "2", "100.0 %"], "phrases": ["6", "9", "66.6 %"],
        "casesTrue": ["2", "5", "40.0 %"], "casesFalse": ["3", "5", "60.0 %"],
        "attributes": ["2", "3", "66.6 %"], "elements": ["4", "5", "80.0 %"],
        "total": ["19", "29", "65.5 %"], "lexiconEntries": ["2", "3", "66.6 %"]})"));
    // Reached: 6, 7, 11, 12 (elements); 17 to 23 and 26 to 29 (announcements); 33, 34; 37.
    EXPECT_EQ(view.at("hits"), 4 + 7 + 4 + 2 + 1);
    // In part: 30, and the cases of 38 and 39, 40 and 41.
    EXPECT_EQ(view.at("parts"), 5);
    // Never: the element of 8, the phrases of 24 and 25, the attribute of 35, the case of 42.
    EXPECT_EQ(view.at("misses"), 5);
  }
  EXPECT_GT(views.at(2).at("codeOverflow"), 0) << "wide lines scroll within the code";
}

}  // namespace

}  // namespace toolstest
