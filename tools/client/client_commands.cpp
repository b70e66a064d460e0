#include "client/client_commands.h"

#include <chrono>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "client/delivery.h"
#include "client/messages.h"
#include "common/cannot_run.h"
#include "common/station.h"
#include "kaTCPIPGet.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kSay = {"lässt einen Text sofort sprechen", "has a text spoken at once"};
constexpr Bilingual kUrgent = {"bricht ab, was gespielt wird, und lässt einen Text sprechen",
                               "ends what is played and has a text spoken"};
constexpr Bilingual kSend = {"sendet Datenblöcke, aus denen Ansagen werden",
                             "sends data blocks, of which announcements are made"};
constexpr Bilingual kPlay = {"spielt Ansagen nacheinander", "plays announcements one by one"};
constexpr Bilingual kBell = {"lässt die Klingel ertönen", "rings the bell"};
constexpr Bilingual kStop = {"beendet alle Abspielprogramme des Rechners",
                             "ends all players of the machine"};
constexpr Bilingual kTerminate = {"beendet den Server", "ends the server"};
constexpr Bilingual kRestart = {"startet den Server neu", "restarts the server"};

constexpr Bilingual kHost = {"Rechner des Servers, Name oder Adresse (sonst dieser)",
                             "machine of the server, name or address (default: this one)"};
constexpr Bilingual kPort = {"Port (sonst der aus der Konfiguration der Station)",
                             "port (default: the one of the station's configuration)"};
constexpr Bilingual kTimeout = {"so viele Sekunden wird auf die Antwort gewartet (sonst 300)",
                                "how many seconds to wait for the answer (default: 300)"};
constexpr Bilingual kShortTimeout = {
    "so viele Sekunden wird auf die Antwort gewartet, höchstens eine",
    "how many seconds to wait for the answer, one at most"};
constexpr Bilingual kText = {"der Text; ohne ihn oder als \"-\": die Standardeingabe",
                             "the text; without it or as \"-\": standard input"};
constexpr Bilingual kRawText = {
    "sendet auch, was die Shell des Servers deutet, und was kein UTF-8 ist",
    "sends what the server's shell interprets, too, and what is no UTF-8"};
constexpr Bilingual kBlocks = {"die Datenblöcke; ohne sie oder als \"-\": die Standardeingabe",
                               "the data blocks; without them or as \"-\": standard input"};
constexpr Bilingual kRawBlock = {"sendet auch Blöcke, die der Server nicht oder nicht ganz liest",
                                 "sends blocks, too, that the server does not read, or not whole"};
constexpr Bilingual kRepeat = {"sendet alles so oft", "sends all of it as often as that"};
constexpr Bilingual kEvery = {"Sekunden vom Beginn einer Sendung bis zum Beginn der nächsten",
                              "seconds from the beginning of one sending to that of the next"};
constexpr Bilingual kNames = {
    "Namen der Ansagen, z. B. de0; ohne sie oder als \"-\": eine Abspielliste "
    "von der Standardeingabe",
    "names of the announcements, e.g. de0; without them or as \"-\": a play "
    "list from standard input"};

/// A port of the server.
struct Channel {
  const char* Key;       ///< its row of the configuration
  unsigned ShippedPort;  ///< its number in the configuration that is shipped
};
constexpr Channel kTextChannel = {"reginputport", 5701};
constexpr Channel kDataChannel = {"rblinputport", 5702};
constexpr Channel kCommandChannel = {"cmdinputport", 5703};

/// The port that a listener opens when it refuses the configured one.
constexpr unsigned kRefusedPort = 50000;

constexpr const char* kStandardInput = "-";

struct ClientOptions {
  std::string Host = "127.0.0.1";
  unsigned Port = 0;  ///< 0 for the configured one
  double Timeout = 300;
  bool bRaw = false;
  std::string Text = kStandardInput;
  std::vector<std::string> Blocks = {kStandardInput};
  std::vector<std::string> Names = {kStandardInput};
  int Repeat = 1;
  double Every = 0;
};

using Options = std::shared_ptr<ClientOptions>;

// ---- Where to ----

unsigned ConfiguredPort(const Station& station, const char* key) {
  int port = 0;
  Silently([&] { port = station.Profile().GetValueInt(key); });
  const bool isTaken = CkaTCPIPGet().SetPortNum(static_cast<unsigned>(port));
  return isTaken ? static_cast<unsigned>(port) : kRefusedPort;
}

/// Where no station is, as on the machine of a dispatcher, the server has the shipped ports.
unsigned PortOf(const CLI::App& command, const Channel& channel, const ClientOptions& options,
                const Context& context) {
  if (options.Port != 0) return options.Port;
  const bool isStation = fs::exists(context.StationDir / "kaconfig" / "kaTtsServer.kacfg");
  if (!isStation && command.count("--station") == 0) return channel.ShippedPort;
  return ConfiguredPort(Station(context.StationDir), channel.Key);
}

Delivery DeliveryOf(const CLI::App& command, const Channel& channel, const ClientOptions& options,
                    Context& context) {
  return {command.get_name(), Endpoint{options.Host, PortOf(command, channel, options, context)},
          Connection::Seconds(options.Timeout), context};
}

// ---- What ----

/// Standard input without the line end that editors and `echo` put behind the last line. What is
/// too long for any message is not read to its end.
std::string StandardInput() {
  constexpr std::size_t kEnough = kLongestMessage + 3;
  std::string text(kEnough, '\0');
  std::cin.read(text.data(), kEnough);
  text.resize(static_cast<std::size_t>(std::cin.gcount()));
  return WithoutLineEnd(std::move(text));
}

std::string TextOf(const std::string& argument) {
  return argument == kStandardInput ? StandardInput() : WithoutLineEnd(argument);
}

std::vector<std::string> NamesOfList(const std::vector<std::string>& arguments) {
  return arguments == std::vector<std::string>{kStandardInput} ? NamesOf(StandardInput())
                                                               : arguments;
}

Outgoing BlockOf(const std::string& argument, bool raw) {
  if (argument == kStandardInput) return {"", DataBlock(StandardInput(), raw)};
  return {argument, DataBlock(WithoutLineEnd(Read(argument)), raw)};
}

// ---- Sending ----

/// Sends the one message that `compose` makes.
template <class Compose>
void SendOne(Delivery delivery, const Compose& compose) {
  try {
    delivery.Send({"", compose()});
  } catch (const Refused& refused) {
    delivery.Refuse("", refused);
  }
  delivery.Finish();
}

/// All blocks, or none if one of them is refused.
std::vector<Outgoing> Compose(const ClientOptions& options, Delivery& delivery) {
  std::vector<Outgoing> blocks;
  for (const std::string& argument : options.Blocks) {
    try {
      blocks.push_back(BlockOf(argument, options.bRaw));
    } catch (const Refused& refused) {
      delivery.Refuse(argument == kStandardInput ? "" : argument, refused);
      return {};
    }
  }
  return blocks;
}

/// Sends until one is not delivered.
void SendRepeatedly(const std::vector<Outgoing>& blocks, const ClientOptions& options,
                    Delivery& delivery) {
  using Clock = std::chrono::steady_clock;
  const auto period =
      std::chrono::duration_cast<Clock::duration>(Connection::Seconds(options.Every));
  Clock::time_point next = Clock::now();
  for (int round = 0; round < options.Repeat; ++round) {
    for (const Outgoing& block : blocks) {
      std::this_thread::sleep_until(next);
      next = Clock::now() + period;
      if (!delivery.Send(block)) return;
    }
  }
}

void SendBlocks(const CLI::App& command, const ClientOptions& options, Context& context) {
  Delivery delivery = DeliveryOf(command, kDataChannel, options, context);
  SendRepeatedly(Compose(options, delivery), options, delivery);
  delivery.Finish();
}

// ---- The commands ----

CLI::App* AddCommand(CLI::App& app, Context& context, const Options& options, const char* name,
                     const Bilingual& description, const Bilingual& timeout) {
  const Language lang = context.Lang;
  CLI::App* command = app.add_subcommand(name, std::string(description(lang)));
  AddCommonOptions(*command, context);
  command->add_option("--host", options->Host, std::string(kHost(lang)))->type_name("HOST");
  command->add_option("--port", options->Port, std::string(kPort(lang)))
      ->type_name("PORT")
      ->check(CLI::Range(1, 65535).description(""));
  command->add_option("--timeout", options->Timeout, std::string(timeout(lang)))
      ->type_name("SECONDS")
      ->check(CLI::Range(0.001, 1e6).description(""));
  return command;
}

using MakeText = std::string (*)(const std::string& text, bool raw);

void AddTextCommand(CLI::App& app, Context& context, const char* name, const Bilingual& description,
                    MakeText make) {
  const auto options = std::make_shared<ClientOptions>();
  CLI::App* command = AddCommand(app, context, options, name, description, kTimeout);
  command->add_option("TEXT", options->Text, std::string(kText(context.Lang)))->type_name("");
  command->add_flag("--raw", options->bRaw, std::string(kRawText(context.Lang)));
  command->callback([=, &context] {
    SendOne(DeliveryOf(*command, kTextChannel, *options, context),
            [&] { return make(TextOf(options->Text), options->bRaw); });
  });
}

void AddSendCommand(CLI::App& app, Context& context) {
  const Language lang = context.Lang;
  const auto options = std::make_shared<ClientOptions>();
  CLI::App* command = AddCommand(app, context, options, "send", kSend, kTimeout);
  command->add_option("BLOCK", options->Blocks, std::string(kBlocks(lang)))->type_name("");
  command->add_flag("--raw", options->bRaw, std::string(kRawBlock(lang)));
  command->add_option("--repeat", options->Repeat, std::string(kRepeat(lang)))
      ->type_name("N")
      ->check(CLI::PositiveNumber.description(""));
  command->add_option("--every", options->Every, std::string(kEvery(lang)))
      ->type_name("SECONDS")
      ->check(CLI::Range(0.0, 1e6).description(""));
  command->callback([=, &context] { SendBlocks(*command, *options, context); });
}

void AddPlayCommand(CLI::App& app, Context& context) {
  const auto options = std::make_shared<ClientOptions>();
  CLI::App* command = AddCommand(app, context, options, "play", kPlay, kTimeout);
  command->add_option("NAME", options->Names, std::string(kNames(context.Lang)))->type_name("");
  command->callback([=, &context] {
    SendOne(DeliveryOf(*command, kCommandChannel, *options, context),
            [&] { return PlayList(NamesOfList(options->Names)); });
  });
}

/// A command that is its own name with "!" in front.
CLI::App* AddPlainCommand(CLI::App& app, Context& context, const char* name,
                          const Bilingual& description, bool endsServer) {
  const auto options = std::make_shared<ClientOptions>();
  CLI::App* command =
      AddCommand(app, context, options, name, description, endsServer ? kShortTimeout : kTimeout);
  command->callback([=, &context] {
    Delivery delivery = DeliveryOf(*command, kCommandChannel, *options, context);
    if (endsServer) delivery.ExpectEnd();
    SendOne(std::move(delivery), [&] { return "!" + command->get_name(); });
  });
  return command;
}

}  // namespace

void AddClientCommands(CLI::App& app, Context& context) {
  AddTextCommand(app, context, "say", kSay, PlainText);
  AddTextCommand(app, context, "urgent", kUrgent, UrgentText);
  AddSendCommand(app, context);
  AddPlayCommand(app, context);
  AddPlainCommand(app, context, "bell", kBell, false);
  AddPlainCommand(app, context, "stop", kStop, false);
  AddPlainCommand(app, context, "terminate", kTerminate, true);
  AddPlainCommand(app, context, "restart", kRestart, true);
}

}  // namespace tools
