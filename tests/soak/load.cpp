#include "load.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <random>
#include <system_error>
#include <utility>

#include "support/loopback.h"

namespace soak {

namespace {

using Clock = std::chrono::steady_clock;
using servertest::HostileMessage;
using servertest::Hostility;
using std::chrono::milliseconds;

constexpr const char* kReceived = "received\n";

/// Numbers, and the garbage of a port.
class Dice {
 public:
  using GarbageMaker = HostileMessage (Hostility::*)();

  Dice(std::uint32_t seed, GarbageMaker make) : engine_(seed) {
    Hostility hostility(seed);
    for (HostileMessage& message : garbage_)
      message = (hostility.*make)();
  }

  /// 0 to sides - 1
  unsigned Throw(std::size_t sides) { return static_cast<unsigned>(engine_() % sides); }
  const HostileMessage& Garbage() { return garbage_[Throw(garbage_.size())]; }
  /// Each piece of garbage twice, and read whole; then none.
  std::optional<Load::Message> NextNew() {
    if (shown_ == 2 * garbage_.size()) return std::nullopt;
    return Load::Message{{garbage_[shown_++ % garbage_.size()].Text, false}, {}, true};
  }

 private:
  std::mt19937 engine_;
  std::array<HostileMessage, 150> garbage_;
  std::size_t shown_ = 0;
};

std::string Block(Dice& dice) {
  std::string block = "<rbl>";
  for (unsigned rows = 1 + dice.Throw(20); rows > 0; --rows)
    block += "<row zug=\"ICE " + std::to_string(dice.Throw(10000)) + "\"/>";
  return block + "</rbl>";
}

std::string PlayList(Dice& dice) {
  std::string list;
  for (unsigned names = 1 + dice.Throw(3); names > 0; --names) {
    list += std::string(list.empty() ? "" : ", ") + (dice.Throw(2) == 0 ? "de" : "en") +
            std::to_string(dice.Throw(5));
  }
  return list;
}

}  // namespace

Load::Load(std::string name, unsigned port, Maker make)
    : name_(std::move(name)), port_(port), make_(std::move(make)), thread_([this] { Run(); }) {}

Load::~Load() {
  Stop();
}

void Load::Stop() {
  stopped_ = true;
  if (thread_.joinable()) thread_.join();
}

void Load::Run() {
  while (!stopped_) {
    const Message message = make_();
    const Clock::time_point start = Clock::now();
    {
      const std::lock_guard busy(busy_);
      SendOne(message.Client);
      ++messages_;
    }
    if (message.Hurries) continue;
    Rest(std::max<std::chrono::nanoseconds>(Clock::now() - start, message.Rest));
  }
}

void Load::SendOne(const HostileMessage& message) {
  try {
    support::Client client(port_);
    client.Send(message.Text);
    if (message.ResetsAtOnce) return client.Vanish();
    if (message.Text.empty()) client.EndSending();
    if (client.ReceiveAll() == kReceived) return;
    std::fprintf(stderr, "%s port: a wrong answer\n", name_.c_str());
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "%s port: %s\n", name_.c_str(), error.what());
  }
  ++failures_;
}

void Load::Rest(std::chrono::nanoseconds duration) const {
  const Clock::time_point end =
      Clock::now() + std::min<std::chrono::nanoseconds>(duration, std::chrono::seconds(5));
  while (!stopped_ && Clock::now() < end) {
    std::this_thread::sleep_for(
        std::min<std::chrono::nanoseconds>(end - Clock::now(), milliseconds(100)));
  }
}

Load::Maker TextMessages(std::uint32_t seed) {
  const auto dice = std::make_shared<Dice>(seed, &Hostility::PlainText);
  return [dice]() -> Load::Message {
    if (auto garbage = dice->NextNew()) return *garbage;
    switch (dice->Throw(8)) {
      case 0:
        return {dice->Garbage(), {}};
      case 1:
        return {{"!uAchtung, Zug fährt durch", false}, {}};
      default:
        return {{"Guten Tag, Gleis " + std::to_string(dice->Throw(30)), false}, {}};
    }
  };
}

Load::Maker DataMessages(std::uint32_t seed, milliseconds quiet) {
  const auto dice = std::make_shared<Dice>(seed, &Hostility::ForData);
  const auto last = std::make_shared<std::string>(Block(*dice));
  return [dice, last, quiet]() -> Load::Message {
    if (auto garbage = dice->NextNew()) return *garbage;
    const milliseconds rest = dice->Throw(8) == 0 ? quiet : milliseconds(0);
    switch (dice->Throw(8)) {
      case 0:
        return {dice->Garbage(), rest};
      case 1:
      case 2:
      case 3:
        return {{*last, false}, rest};
      default:
        *last = Block(*dice);
        return {{*last, false}, rest};
    }
  };
}

Load::Maker CommandMessages(std::uint32_t seed) {
  const auto dice = std::make_shared<Dice>(seed, &Hostility::ForCommand);
  return [dice]() -> Load::Message {
    if (auto garbage = dice->NextNew()) return *garbage;
    switch (dice->Throw(10)) {
      case 0:
        return {dice->Garbage(), {}};
      case 1:
        return {{"!bell", false}, {}};
      case 2:
        return {{"!stop", false}, {}};
      default:
        return {{PlayList(*dice), false}, {}};
    }
  };
}

}  // namespace soak
