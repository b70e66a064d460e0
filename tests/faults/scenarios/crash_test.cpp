// The server is killed at random moments of its work and started again, as by a supervisor that
// ends what a service leaves behind.

#include <csignal>
#include <functional>
#include <iostream>
#include <random>

#include "fault_fixture.h"

namespace servertest {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;

/// What is to be interrupted.
struct Work {
  std::function<void()> Prepare;
  std::function<void()> Begin;
  std::function<bool()> IsDone;
};

class Crash : public FaultTest {
 protected:
  Crash() {
    stage().WriteDocument(Replaced(Content(stage().Dir() + "/station.xml"),
                                   "<Element id=\"Zug\" trait=\"temp\"/>",
                                   "<Element id=\"Zug\" trait=\"temp\"/>"
                                   "<Element id=\"Bitte\" trait=\"steady\" text=\"Bitte.\"/>"));
  }

  /// Kills the server so many times while it works; each time it is started and serves. A kill that
  /// came after the work does not count, and the next ones come earlier: a machine that was busy
  /// when the work was measured is not always so.
  void KillDuring(const Work& work, int kills) {
    Start();
    microseconds latest = Duration(work);
    int interrupted = 0;
    int round = 0;
    for (; interrupted < kills && round < 10 * kills && !HasFailure(); ++round) {
      work.Prepare();
      work.Begin();
      const microseconds moment = Moment(latest);
      std::this_thread::sleep_for(moment);
      if (work.IsDone()) {
        latest = (latest + moment) / 2;
      } else {
        ++interrupted;
      }
      kill(Pid(), SIGKILL);
      ASSERT_EQ(Describe(server().AwaitEnd()), "signal 9");
      clients_.clear();
      Start();
      ExpectAllPortsServe("Runde " + std::to_string(round));
      ExpectPreparedPhrasesAreWhole();
    }
    std::cout << round << " kills, the latest after " << latest.count() / 1000 << " ms of work, "
              << interrupted << " before its end\n";
    EXPECT_EQ(interrupted, kills) << "the kills miss the work";
  }

  void Send(unsigned port, const std::string& text) { clients_.emplace_back(port).Send(text); }
  bool AllAreAnswered() const {
    return std::all_of(clients_.begin(), clients_.end(),
                       [](const Client& client) { return client.HasAnswer(); });
  }
  std::string PreparedBase(const std::string& lang) const {
    return stage().Steady() + "/" + lang + "/Bitte";
  }

 private:
  microseconds Duration(const Work& work) {
    work.Prepare();
    const Clock::time_point start = Clock::now();
    work.Begin();
    EXPECT_TRUE(WaitUntil(work.IsDone));
    clients_.clear();
    return std::chrono::duration_cast<microseconds>(Clock::now() - start);
  }
  microseconds Moment(microseconds latest) {
    return microseconds(
        std::uniform_int_distribution<microseconds::rep>(0, latest.count())(random_));
  }
  void ExpectPreparedPhrasesAreWhole() const {
    for (const char* lang : {"de", "en"}) {
      EXPECT_EQ(Content(PreparedBase(lang) + ".txt"), "Bitte.");
      EXPECT_EQ(Content(PreparedBase(lang) + ".wav"), StubSpeech("Bitte."));
    }
  }

  std::vector<Client> clients_;
  std::mt19937 random_{std::random_device()()};
};

/// Four kinds of work: 500 kills in full.
int Kills() {
  return Rounds(6, 125);
}

TEST_F(Crash, DuringGenerationIsFollowedByAStartAndAServedBlock) {
  KillDuring({[] {},
              [this] {
                Send(stage().DataPort(), Block({"ICE 1", "ICE 2", "ICE 3"}));
              },
              [this] { return AllAreAnswered(); }},
             Kills());
}

// A block that has been made already is only rotated.
TEST_F(Crash, DuringRotationIsFollowedByAStartAndAServedBlock) {
  const std::string block = Block({"ICE 1", "ICE 2", "ICE 3"});
  KillDuring({[this, block] { AskData(block); }, [this, block] { Send(stage().DataPort(), block); },
              [this] { return AllAreAnswered(); }},
             Kills());
}

TEST_F(Crash, DuringPreparationOfPhrasesIsFollowedByAStartAndAServedBlock) {
  KillDuring({[this] {
                for (const char* lang : {"de", "en"}) {
                  stage().Remove(std::string("run/steady/") + lang + "/Bitte.txt");
                  stage().Remove(std::string("run/steady/") + lang + "/Bitte.wav");
                }
              },
              [this] { Launch(); }, [this] { return CountOf(Out(), "ka-TTS-Server: ") == 2; }},
             Kills());
}

TEST_F(Crash, DuringPlaybackIsFollowedByAStartAndAServedBlock) {
  stubs().Add("aplay", "/bin/sleep 0.02");
  KillDuring({[this] {
                AskData(Block({"ICE 1", "ICE 2"}));
              },
              [this] { Send(stage().CommandPort(), "de0,en0,de1,en1"); },
              [this] { return AllAreAnswered(); }},
             Kills());
}

// The text is kept before the engine runs, and is all that the next start looks at.
TEST_F(Crash, DuringTheRebuildOfAChangedPhraseLeavesTheOldSpeechUntilItIsRemoved) {
  Start();
  stage().WriteDocument(
      Replaced(Content(stage().Dir() + "/station.xml"), "text=\"Bitte.\"", "text=\"Danke.\""));
  stubs().Hold("save");
  Launch();
  AwaitCalls("save", 3);
  kill(Pid(), SIGKILL);
  ASSERT_EQ(Describe(server().AwaitEnd()), "signal 9");
  stubs().Release("save");
  Start();
  EXPECT_EQ(Content(PreparedBase("de") + ".txt"), "Danke.");
  EXPECT_EQ(Content(PreparedBase("de") + ".wav"), StubSpeech("Bitte."));
  EXPECT_EQ(Content(PreparedBase("en") + ".wav"), StubSpeech("Danke."));
  stage().Remove("run/steady/de/Bitte.wav");
  Start();
  EXPECT_EQ(Content(PreparedBase("de") + ".wav"), StubSpeech("Danke."));
}

}  // namespace

}  // namespace servertest
