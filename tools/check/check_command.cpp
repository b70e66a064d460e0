#include "check/check_command.h"

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "check/rule_groups.h"

namespace tools {

namespace {

constexpr Bilingual kDescription = {
    "findet, was der Server anders tun wird, als der Autor geschrieben hat",
    "finds what the server will do otherwise than the author wrote"};
constexpr Bilingual kExplain = {"erklärt eine Regel", "explains a rule"};
constexpr Bilingual kRules = {"zählt alle Regeln auf", "lists all rules"};
constexpr Bilingual kMarkdown = {"mit --rules: als Seite in Markdown",
                                 "with --rules: as a page in Markdown"};
constexpr Bilingual kUnknownRule = {
    "ka-tts check: Die Regel \"{0}\" gibt es nicht; --rules zählt alle auf.\n",
    "ka-tts check: there is no rule \"{0}\"; --rules lists all.\n"};

struct CheckOptions {
  std::string Explain;
  bool bRules = false;
  bool bMarkdown = false;
};

void Explain(const std::string& id, Context& context) {
  const std::vector<Rule> rules = Rules();
  const auto rule = std::find_if(rules.begin(), rules.end(),
                                 [&id](const Rule& candidate) { return candidate.Id == id; });
  if (rule == rules.end()) {
    PrintError(Say(kUnknownRule, context.Lang, id));
    context.Status = 2;
    return;
  }
  Print(ExplainRule(*rule, context.Lang, context.UsesColor()));
}

void ListRules(bool markdown, const Context& context) {
  if (markdown) {
    Print(RulePage(context.Lang));
  } else {
    Print(context.bJson ? RuleListAsJson(context.Lang) : RuleList(context.Lang));
  }
}

void CheckAll(const CheckInput& input, Report& report) {
  for (const RuleGroup& group : RuleGroups())
    group.Check(input, report);
}

void CheckStation(const Station& station, Report& report) {
  try {
    const Document document(station.Document());
    const ServerReaders readers(station.Document());
    CheckAll({station, &document, &readers, nullptr}, report);
  } catch (const DocumentError& failure) {
    CheckAll({station, nullptr, nullptr, &failure}, report);
  }
}

void RunCheck(Context& context) {
  const Station station(context.StationDir);
  Report report(context.Lang, station.Root());
  CheckStation(station, report);
  Print(context.bJson ? report.Json().dump(2) + "\n" : report.Text(context.UsesColor()));
  context.Status = report.Status();
}

}  // namespace

CLI::App* AddCheckCommand(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("check", std::string(kDescription(context.Lang)));
  AddCommonOptions(*command, context);
  const auto options = std::make_shared<CheckOptions>();
  command->add_option("--explain", options->Explain, std::string(kExplain(context.Lang)))
      ->type_name("RULE");
  CLI::Option* rules =
      command->add_flag("--rules", options->bRules, std::string(kRules(context.Lang)));
  command->add_flag("--markdown", options->bMarkdown, std::string(kMarkdown(context.Lang)))
      ->needs(rules);
  command->callback([options, &context] {
    if (!options->Explain.empty()) {
      Explain(options->Explain, context);
    } else if (options->bRules) {
      ListRules(options->bMarkdown, context);
    } else {
      RunCheck(context);
    }
  });
  return command;
}

}  // namespace tools
