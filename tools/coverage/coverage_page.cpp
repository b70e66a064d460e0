#include "coverage/coverage_page.h"

#include <libxml/xmlstring.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

namespace tools {

namespace {

constexpr Bilingual kTitle = {"Abdeckung", "Coverage"};
constexpr Bilingual kSkip = {"Zum Quelltext", "Skip to the source"};
constexpr Bilingual kSummary = {"Übersicht", "Summary"};
constexpr Bilingual kKind = {"Art", "Kind"};
constexpr Bilingual kReached = {"Erreicht", "Reached"};
constexpr Bilingual kOf = {"von", "of"};
constexpr Bilingual kShare = {"Anteil", "Share"};
constexpr Bilingual kFiles = {"Dateien", "Files"};
constexpr Bilingual kRefused = {"Abgelehnte Blöcke", "Refused blocks"};
constexpr Bilingual kMissing = {"Nie erreicht", "Never reached"};
constexpr Bilingual kAllReached = {"Alles wurde erreicht.", "Everything was reached."};
constexpr Bilingual kLine = {"Zeile", "line"};
constexpr Bilingual kNoFile = {"Diese Datei gibt es nicht.", "There is no such file."};
constexpr Bilingual kSourceOf = {"Quelltext von {0}", "Source of {0}"};
constexpr Bilingual kHitWord = {"erreicht", "reached"};
constexpr Bilingual kPartWord = {"teils erreicht", "partly reached"};
constexpr Bilingual kMissWord = {"nie erreicht", "never reached"};
constexpr Bilingual kLegend = {
    "Neben einer Zeile steht, wie oft sie erreicht wurde; bei einem Fall, wie oft er wahr und wie "
    "oft er falsch war (wahr/falsch).",
    "Beside a line stands how often it was reached; for a case, how often it was true and how "
    "often "
    "it was false (true/false)."};

/// Text on each of the backgrounds has a contrast of at least 4.5 to 1, in both schemes.
constexpr std::string_view kStyle = R"(
:root{color-scheme:light dark;--bg:#fff;--fg:#1b1f24;--soft:#57606a;--line:#d0d7de;--panel:#f6f8fa;
--link:#0950c5;--hit:#e3f5e8;--hit-fg:#0f5a28;--miss:#fde4e4;--miss-fg:#96141c;--part:#fdf1cf;
--part-fg:#6a4700;--bar:#2a8a4a;--track:#e4b7b7}
@media (prefers-color-scheme:dark){:root{--bg:#0f1419;--fg:#e6e8eb;--soft:#a3adb8;--line:#333c46;
--panel:#171d24;--link:#8ab8ff;--hit:#11271a;--hit-fg:#8fd9a8;--miss:#3d171a;--miss-fg:#ffb8b8;
--part:#33290c;--part-fg:#f3d27c;--bar:#56b877;--track:#6b2f34}}
*{box-sizing:border-box}
html{scroll-padding-top:1rem;-webkit-text-size-adjust:100%}
body{margin:0 auto;max-width:76rem;padding:1.5rem;background:var(--bg);color:var(--fg);
font:1rem/1.5 system-ui,sans-serif;overflow-wrap:anywhere}
h1{font-size:1.6rem;line-height:1.2;margin:0}
h2{font-size:1.15rem;margin:2.2rem 0 .6rem}
p{margin:.4rem 0}
a{color:var(--link)}
:focus-visible{outline:3px solid var(--link);outline-offset:2px}
.soft{color:var(--soft)}
.skip{position:absolute;left:-99rem}
.skip:focus{left:1rem;top:.5rem;background:var(--bg);padding:.3rem .6rem}
.sr{position:absolute;width:1px;height:1px;overflow:hidden;clip-path:inset(50%);white-space:nowrap}
.summary{border-collapse:collapse;width:100%;max-width:44rem;font-variant-numeric:tabular-nums}
.summary th,.summary td{padding:.4rem .6rem;border-bottom:1px solid var(--line);text-align:right}
.summary th:first-child{text-align:left}
.summary tbody th{font-weight:400}
.summary{overflow-wrap:normal}
.summary td{white-space:nowrap}
.summary thead th{color:var(--soft);font-weight:400}
.summary tr[data-kind=total]>*{font-weight:600;border-bottom-color:var(--soft)}
.summary .bar{width:34%}
.bar span{display:block;height:.6rem;border-radius:.3rem;background:var(--track);overflow:hidden}
.bar span span{background:var(--bar);border-radius:0}
ul{padding-left:1.2rem;margin:.4rem 0}
li{margin:.2rem 0}
nav ul{columns:18rem}
nav li{margin:0;padding:.1rem 0}
details{border:1px solid var(--line);border-radius:.5rem;margin:.5rem 0;background:var(--panel)}
summary{padding:.5rem .8rem;cursor:pointer;font-weight:600;border-radius:.5rem}
details ul{margin:0;padding:0 1rem .6rem 2rem}
.legend span{padding:.1rem .5rem;border-radius:.3rem;margin-right:.4rem;white-space:nowrap}
.scroll{overflow-x:auto;border:1px solid var(--line);border-radius:.5rem}
.code{border-collapse:separate;border-spacing:0;min-width:100%;
font:.82rem/1.55 ui-monospace,"DejaVu Sans Mono",Menlo,Consolas,monospace}
.code th{position:sticky;left:0;background:var(--panel);color:var(--soft);font-weight:400;
text-align:right;white-space:nowrap;padding:0 .5rem;border-right:1px solid var(--line);
vertical-align:top}
.code .n{display:inline-block;min-width:4ch}
.code .m{display:inline-block;min-width:2.5ch;text-align:center}
.code .k{display:inline-block;min-width:4ch}
.code td{width:100%;padding:0 1rem 0 .6rem;white-space:pre;tab-size:4;overflow-wrap:normal}
.code tr:target td,.code tr:target th{box-shadow:inset 0 2px var(--link),inset 0 -2px var(--link)}
.legend .hit,.code .hit th{background:var(--hit)}
.legend .part,.part td,.code .part th{background:var(--part)}
.legend .miss,.miss td,.code .miss th{background:var(--miss)}
.hit th,.legend .hit{color:var(--hit-fg)}
.part th,.legend .part{color:var(--part-fg)}
.miss th,.legend .miss{color:var(--miss-fg)}
@media (max-width:40rem){body{padding:1rem .75rem}h1{font-size:1.3rem}
.summary th,.summary td{padding:.4rem .3rem}.summary .bar{display:none}
.code{font-size:.74rem}.code th{padding:0 .3rem}.code .n{min-width:3ch}.code .k{min-width:2ch}}
)";

/// Lists of more entries than this are closed at first.
constexpr std::size_t kLongList = 12;

/// A link into a list that is closed opens it; not every browser does so by itself.
constexpr std::string_view kScript = R"(
const open=()=>{const to=document.getElementById(location.hash.slice(1)),list=to&&to.closest("details");
if(list&&!list.open){list.open=true;to.scrollIntoView()}};
addEventListener("hashchange",open);open();
)";

// ---- Text ----

bool IsUtf8(std::string_view text) {
  return xmlCheckUTF8(reinterpret_cast<const xmlChar*>(std::string(text).c_str())) == 1;
}

/// A character of a text in ISO 8859-1, as UTF-8.
std::string FromLatin1(unsigned char c) {
  if (c < 0x80) return {static_cast<char>(c)};
  return {static_cast<char>(0xC0U | c >> 6U), static_cast<char>(0x80U | (c & 0x3FU))};
}

/// The picture that Unicode has for a control character.
std::string PictureOf(unsigned char control) {
  return {'\xE2', '\x90', static_cast<char>(0x80U | control)};
}

/// `text` as content or attribute of the page, whatever bytes it has.
std::string Html(std::string_view text) {
  const bool isUtf8 = IsUtf8(text);
  std::string html;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '&') {
      html += "&amp;";
    } else if (c == '<') {
      html += "&lt;";
    } else if (c == '"') {
      html += "&quot;";
    } else if (byte < ' ' && c != '\t') {
      html += PictureOf(byte);
    } else {
      html += isUtf8 ? std::string(1, c) : FromLatin1(byte);
    }
  }
  return html;
}

std::string Tag(std::string_view name, std::string_view content) {
  return fmt::format("<{0}>{1}</{0}>", name, content);
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t pos = 0; pos < text.size();) {
    const std::size_t end = std::min(text.find('\n', pos), text.size());
    lines.push_back(text.substr(pos, end - pos));
    if (!lines.back().empty() && lines.back().back() == '\r') lines.back().pop_back();
    pos = end + 1;
  }
  return lines;
}

// ---- Marks ----

/// What is known of a line of a source.
struct LineMark {
  bool bReached = false;
  bool bMissed = false;
  std::string Counts;
};

using FileMarks = std::map<int, LineMark>;

void MarkItem(FileMarks& marks, const CoverageItem& item) {
  for (const int line : item.Lines)
    (item.Hits > 0 ? marks[line].bReached : marks[line].bMissed) = true;
  std::string& counts = marks[item.Where.Line].Counts;
  if (!counts.empty()) counts += item.Kind == ItemKind::CaseFalse ? "/" : " ";
  counts += std::to_string(item.Hits);
}

struct MarkLook {
  std::string_view Class;
  std::string_view Sign;
  Bilingual Word;
};

constexpr MarkLook kHitLook = {"hit", "✓", kHitWord};
constexpr MarkLook kPartLook = {"part", "◐", kPartWord};
constexpr MarkLook kMissLook = {"miss", "✗", kMissWord};

const MarkLook& LookOf(const LineMark& mark) {
  if (mark.bReached && mark.bMissed) return kPartLook;
  return mark.bReached ? kHitLook : kMissLook;
}

// ---- The page ----

/// A file whose source is shown.
struct SourceFile {
  std::filesystem::path Path;
  std::string Anchor;  ///< id of its section; lines have this, "-" and their number
  bool bExists = true;
};

class PageBuilder {
 public:
  explicit PageBuilder(const CoverageReport& report) : report_(report) {
    files_.push_back({report.Data().Document().File(), "source", true});
    for (const UsedLexicon& lexicon : report.Data().Items().Lexica)
      files_.push_back({lexicon.Path, "lexicon" + std::to_string(files_.size()), lexicon.bExists});
    for (const CoverageItem& item : report.Data().Items().All)
      MarkItem(marks_[item.Where.File], item);
  }

  std::string Build() const {
    const std::string name = Html(report_.NameOf(files_.front().Path));
    std::string page = fmt::format(
        "<!DOCTYPE html>\n<html lang=\"{}\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<meta name=\"color-scheme\" content=\"light dark\">\n<title>{}: {}</title>\n"
        "<style>{}</style>\n</head>\n<body>\n<a class=\"skip\" href=\"#source\">{}</a>\n",
        report_.Lang() == Language::German ? "de" : "en", Text(kTitle), name, kStyle, Text(kSkip));
    page += fmt::format("<header><h1>{}: {}</h1><p class=\"soft\">{}</p></header>\n<main>\n",
                        Text(kTitle), name, report_.Numbers());
    page += Summary() + Refused() + Missing();
    for (const SourceFile& file : files_)
      page += Source(file);
    return page + fmt::format("</main>\n<script>{}</script>\n</body>\n</html>\n", kScript);
  }

 private:
  std::string_view Text(const Bilingual& text) const { return text(report_.Lang()); }

  // -- Shares --

  std::string Summary() const {
    std::string html = fmt::format(
        "<section><h2>{}</h2>\n<table class=\"summary\">\n<thead><tr><th scope=\"col\">{}</th>"
        "<th scope=\"col\">{}</th><th scope=\"col\">{}</th><th scope=\"col\">{}</th>"
        "<td class=\"bar\"></td></tr></thead>\n<tbody>\n",
        Text(kSummary), Text(kKind), Text(kReached), Text(kOf), Text(kShare));
    for (const ItemKind kind : kItemKinds) {
      if (kind == ItemKind::LexiconEntry) {
        html += SummaryRow("total", std::string(Text(kTotalTitle)), report_.Data().Total());
      }
      html += SummaryRow(KeyOf(kind), KindTitle(kind), report_.Data().ShareOf(kind));
    }
    return html + "</tbody>\n</table>\n" + FileLinks() + "</section>\n";
  }

  /// A kind of which something was missed leads to the list of that.
  std::string KindTitle(ItemKind kind) const {
    const Share share = report_.Data().ShareOf(kind);
    std::string title(TitleOf(kind, report_.Lang()));
    if (share.Reached == share.Total) return title;
    return fmt::format("<a href=\"#missing-{}\">{}</a>", KeyOf(kind), title);
  }

  std::string SummaryRow(std::string_view key, const std::string& title, const Share& share) const {
    return fmt::format(
        "<tr data-kind=\"{}\"><th scope=\"row\">{}</th><td>{}</td><td>{}</td><td>{}&nbsp;%</td>"
        "<td class=\"bar\"><span><span style=\"width:{:.1f}%\"></span></span></td></tr>\n",
        key, title, share.Reached, share.Total, report_.Percent(share), share.Percent());
  }

  std::string FileLinks() const {
    std::string html = fmt::format("<nav aria-label=\"{0}\"><h2>{0}</h2><ul>\n", Text(kFiles));
    for (const SourceFile& file : files_) {
      html += fmt::format("<li><a href=\"#{}\">{}</a> <span class=\"soft\">{}</span></li>\n",
                          file.Anchor, Html(report_.NameOf(file.Path)), FileShare(file));
    }
    return html + "</ul></nav>\n";
  }

  std::string FileShare(const SourceFile& file) const {
    Share share;
    for (const CoverageItem& item : report_.Data().Items().All) {
      if (item.Where.File != file.Path) continue;
      ++share.Total;
      if (item.Hits > 0) ++share.Reached;
    }
    return fmt::format("{} {} {}", share.Reached, Text(kOf), share.Total);
  }

  // -- What is missing --

  std::string Refused() const {
    if (report_.Data().Refused().empty()) return "";
    std::string html = fmt::format("<section id=\"refused\"><h2>{}</h2>\n<ul>\n", Text(kRefused));
    for (const RefusedBlock& block : report_.Data().Refused())
      html += Tag("li", Html(block.File.string()) + ": " + Html(Text(*block.Reason))) + "\n";
    return html + "</ul></section>\n";
  }

  std::string Missing() const {
    std::string lists;
    for (const ItemKind kind : kItemKinds)
      lists += MissingOf(kind);
    if (lists.empty()) lists = Tag("p", Text(kAllReached));
    return fmt::format("<section id=\"missing\"><h2>{}</h2>\n{}</section>\n", Text(kMissing),
                       lists);
  }

  std::string MissingOf(ItemKind kind) const {
    std::string rows;
    for (const CoverageItem& item : report_.Data().Items().All)
      if (item.Kind == kind && item.Hits == 0) rows += MissingRow(item);
    if (rows.empty()) return "";
    const Share share = report_.Data().ShareOf(kind);
    const std::size_t missed = share.Total - share.Reached;
    return fmt::format(
        "<details{}><summary>{} ({})</summary><ul id=\"missing-{}\">\n{}</ul></details>\n",
        missed > kLongList ? "" : " open", TitleOf(kind, report_.Lang()), missed, KeyOf(kind),
        rows);
  }

  std::string MissingRow(const CoverageItem& item) const {
    const bool isEntry = item.Kind == ItemKind::LexiconEntry;
    const std::string place =
        isEntry ? Html(report_.NameOf(item.Where.File)) + ":" : std::string(Text(kLine)) + " ";
    return fmt::format("<li><a href=\"#{0}-{1}\">{2}{1}</a> <b>{3}</b>: {4}</li>\n",
                       AnchorOf(item.Where.File), item.Where.Line, place, Html(item.Name),
                       Html(report_.AdviceOf(item)));
  }

  std::string AnchorOf(const std::filesystem::path& path) const {
    const auto file = std::find_if(files_.begin(), files_.end(),
                                   [&path](const SourceFile& f) { return f.Path == path; });
    return file == files_.end() ? "" : file->Anchor;
  }

  // -- Source --

  std::string Source(const SourceFile& file) const {
    const std::string name = Html(report_.NameOf(file.Path));
    std::string html = fmt::format("<section id=\"{}\"><h2>{}</h2>\n", file.Anchor, name);
    if (!file.bExists) return html + Tag("p", Text(kNoFile)) + "</section>\n";
    const bool isDocument = &file == &files_.front();
    if (isDocument) html += Legend();
    html += fmt::format(
        "<div class=\"scroll\" role=\"region\" tabindex=\"0\" aria-label=\"{}\">\n"
        "<table class=\"code\"><tbody>\n",
        Say(kSourceOf, report_.Lang(), name));
    int number = 0;
    for (const std::string& line :
         LinesOf(isDocument ? report_.Data().Document().Source() : Read(file.Path)))
      html += SourceLine(file, ++number, line);
    return html + "</tbody></table></div></section>\n";
  }

  std::string Legend() const {
    std::string html = "<p class=\"legend\">";
    for (const MarkLook& look : {kHitLook, kPartLook, kMissLook}) {
      html +=
          fmt::format("<span class=\"{}\">{} {}</span>", look.Class, look.Sign, Text(look.Word));
    }
    return html + "</p>\n" + Tag("p", Text(kLegend)) + "\n";
  }

  const LineMark* FindMark(const std::filesystem::path& file, int line) const {
    const auto marks = marks_.find(file);
    if (marks == marks_.end()) return nullptr;
    const auto mark = marks->second.find(line);
    return mark == marks->second.end() ? nullptr : &mark->second;
  }

  std::string SourceLine(const SourceFile& file, int number, const std::string& line) const {
    const LineMark* mark = FindMark(file.Path, number);
    const std::string look = mark == nullptr ? "" : std::string(LookOf(*mark).Class);
    return fmt::format(
        "<tr id=\"{0}-{1}\" class=\"{2}\"><th scope=\"row\"><span class=\"n\">{1}</span>{3}</th>"
        "<td>{4}</td></tr>\n",
        file.Anchor, number, look, Gutter(mark), Html(line));
  }

  /// What stands between a line's number and the line.
  std::string Gutter(const LineMark* mark) const {
    if (mark == nullptr) return "<span class=\"m\"></span><span class=\"k\"></span>";
    const MarkLook& look = LookOf(*mark);
    return fmt::format(
        "<span class=\"m\" aria-hidden=\"true\">{}</span><span class=\"sr\"> {} </span>"
        "<span class=\"k\">{}</span>",
        look.Sign, Text(look.Word), mark->Counts);
  }

  const CoverageReport& report_;
  std::vector<SourceFile> files_;
  std::map<std::filesystem::path, FileMarks> marks_;
};

}  // namespace

std::string CoveragePage(const CoverageReport& report) {
  return PageBuilder(report).Build();
}

}  // namespace tools
