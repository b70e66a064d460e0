// The Python client against the real server.

#include "client_station.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class PythonClient : public ClientStation {
 protected:
  /// Runs lines of Python that have the server as `server`.
  Ended Run(const std::string& lines) const {
    const support::TempDir dir;
    const std::string ports = std::to_string(stage().TextPort()) + ", " +
                              std::to_string(stage().DataPort()) + ", " +
                              std::to_string(stage().CommandPort());
    const std::string script =
        dir.Write("script.py", "import ka_tts\nserver = ka_tts.Client('127.0.0.1', " + ports +
                                   ", timeout=60)\n" + lines + "\n");
    return RunToolAt(
        KA_PYTHON, {script},
        {{"PYTHONPATH", KA_SOURCE_DIR "/clients/python"}, {"PYTHONDONTWRITEBYTECODE", "1"}});
  }
  void Expect(const std::string& lines) const {
    const Ended ended = Run(lines);
    EXPECT_EQ(ended.Status, 0) << ended.Err;
  }
};

TEST_F(PythonClient, HasATextSpoken) {
  Start();
  Expect("server.say('Der Zug nach Köln fällt aus.\\n')");
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Der Zug nach Köln fällt aus.]"));
}

TEST_F(PythonClient, HasTheLongestTextSpokenWhole) {
  Start();
  Expect("server.say('x' * 11999)");
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [" + std::string(11999, 'x') + "]"));
}

TEST_F(PythonClient, HasAnUrgentTextSpoken) {
  Start();
  Expect("server.urgent('Achtung!')");
  EXPECT_THAT(stubs().Calls(),
              ElementsAre("killall [-9] [aplay]", "killall [-9] [play]", "speak [Achtung!]"));
}

TEST_F(PythonClient, HasABlockMadeAndPlayed) {
  Start();
  Expect("server.send(ka_tts.block([{'zug': 'ICE 618 \"<&>///\"'}]))\nserver.play('de0', 'en0')");
  EXPECT_EQ(Content(stage().Store() + "/de0"), "DE Zug ICE 618 \"<&>///\"");
  EXPECT_THAT(NewOut(), HasSubstr("Meldung Nr. 1 --- Meldung OK"));
  EXPECT_THAT(stubs().CallsOf("aplay"), ElementsAre(PlayCall("de0"), PlayCall("en0")));
}

TEST_F(PythonClient, RingsAndStops) {
  Start();
  Expect("server.bell()\nserver.stop()");
  EXPECT_THAT(stubs().Calls(), ElementsAre("aplay [" + stage().Sounds() + "/bell.wav]",
                                           "killall [-9] [aplay]", "killall [-9] [play]"));
}

TEST_F(PythonClient, TerminatesIt) {
  Start();
  Expect("server.terminate()");
  EXPECT_EQ(servertest::Describe(server().AwaitEnd()), "exit 0");
  EXPECT_THAT(Run("server.bell()").Err, HasSubstr("NotSent"));
}

TEST_F(PythonClient, RestartsIt) {
  stage().Write("restart", "echo \"$*\" >restarted\n");
  Plan().WorkingDirectory = stage().Dir();
  Start();
  Expect("server.restart()");
  EXPECT_EQ(servertest::Describe(server().AwaitEnd()), "exit 0");
  EXPECT_THAT(Content(stage().Dir() + "/restarted"), HasSubstr(stage().Executable()));
}

}  // namespace

}  // namespace toolstest
