// Everything that a server prints and runs from its start to its end, byte for byte.

#include "server_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAreArray;

constexpr std::string_view kDocument = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<Station>
  <References>
    <Language name="de">
      <Voice sex="female">de+f2</Voice>
      <Element id="Gong" trait="sound"/>
      <Element id="Bitte" trait="steady" text="Bitte einsteigen."/>
      <Element id="Zug" trait="temp"/>
      <Element id="Gleis" trait="temp"/>
    </Language>
    <Language name="en">
      <Voice sex="male">en-gb</Voice>
      <Element id="Zug" trait="temp"/>
    </Language>
  </References>
  <Assembly>
    <Language name="de" generalprefix="\voice(de)">
      <Announcement position="0">
        <Speech id="Gong"/>
        <Speech id="Zug" prefix="Achtung, " suffix=" fährt ein. " lexicon="zug"/>
        <Condition name="GleisBekannt">
          <Speech id="Gleis" prefix="Gleis " suffix=". "/>
        </Condition>
        <Condition name="GleisUnbekannt">
          <Speech id="Gleis" prefix="Gleis wird noch angesagt. "/>
        </Condition>
        <Speech id="Bitte"/>
      </Announcement>
      <Announcement position="1">
        <Speech id="Zug" prefix="Danach " suffix="."/>
      </Announcement>
    </Language>
    <Language name="en" generalprefix="\voice(en)">
      <Announcement position="0">
        <Speech id="Zug" suffix=" arriving."/>
      </Announcement>
    </Language>
    <RBLFormat minrows="1" maxrows="2">
      <Attribute name="zug" assignto="Zug" musthavevalue="yes"/>
      <Attribute name="gleis" assignto="Gleis"/>
    </RBLFormat>
    <Case id="GleisBekannt" strlen="gleis" operator="gt" value="0"/>
  </Assembly>
</Station>
)xml";

constexpr const char* kBlock =
    "<rbl><row zug=\"ICE 1\" gleis=\"4\"/><row zug=\"RE 7\" gleis=\"\"/></rbl>\r\n";

class WholeOutput : public ServerTest {
 protected:
  WholeOutput() {
    stage().WriteDocument(std::string(kDocument));
    stage().Write("lexidata/de/zug", "# spoken out\nICE=\"Intercity Express\"\n");
    stage().Set("TimeoutCache", "600");
  }

  std::string Echo(const std::string& key, const std::string& value) const {
    return "GetValueString: " + key + "=" + value + "\n";
  }
  std::string SaveCommand() const { return stage().EngineDir() + "/save"; }
  std::string SteadyBase() const { return stage().Steady() + "/de/Bitte"; }

  /// Stores text of the first row in German.
  std::string GermanText() const {
    return "\\voice(de)  \\audio(play=" + stage().Sounds() +
           "/Gong.wav) Achtung, Intercity Express 1 fährt ein. Gleis 4.  \\audio(play=" +
           SteadyBase() + ".wav) ";
  }

  std::string StartOutput() const {
    const std::string save = Echo("savespeechstub", SaveCommand());
    return "ka-TTS-Server: Meldungen geladen.\n" +
           // The server's own keys, then those of the announcement builder.
           Echo("nonvoicesounds", stage().Sounds()) + Echo("bellfile", "bell.wav") +
           Echo("speechformat", "./station.xml") + Echo("nonvoicesounds", stage().Sounds()) +
           Echo("steadyspeeches", stage().Steady()) + Echo("storetempram", stage().Store()) +
           Echo("playtempram", stage().Play()) + Echo("playprefix", "Not Found") +
           Echo("playsuffix", "Not Found") + Echo("engineName", "stub") + save +
           // The prepared phrase.
           Echo("steadyspeeches", stage().Steady()) + "found: " + SteadyBase() +
           ".txt:  Bitte einsteigen.\nsteady build ####################\n" + save +
           "SaveSpeech CMD: cd " + stage().EngineDir() + "; " + SaveCommand() + " \"" +
           SteadyBase() + ".txt\" " + SteadyBase() + ".wav\n" +
           Echo("steadyspeeches", stage().Steady()) +
           // Listeners and cache.
           Echo("reginputport", std::to_string(stage().TextPort())) +
           Echo("rblinputport", std::to_string(stage().DataPort())) +
           Echo("cmdinputport", std::to_string(stage().CommandPort())) +
           Echo("TimeoutCache", "600") + kReadyMessage;
  }

  /// \param echo the look-up that precedes each run of the engine, "" if it is not run
  std::string BlockOutput(const std::string& echo, const std::string& number) const {
    return "CheckDataValidity\n"
           "Platform case : 1 > 0\n"
           "select lang 0\n"
           "*****************..Intercity Express 1\n"
           "prepare steady: " +
           GermanText() + "\n" + echo + "select lang 0\n" + echo +
           "Platform case : 0 > 0\n"
           "select lang 1\n" +
           echo + "select lang 1\nMeldung Nr. " + number + " --- Meldung OK \n";
  }

  std::string SpeakOutput(const std::string& text) const {
    return "\n################### speakout #####################\n" +
           Echo("rootDir", stage().Dir() + "/engines/") + Echo("engineName", "stub") +
           Echo("speakoutstub", "./speak") + "\nspeakout: " + text + "\ncmd: cd " +
           stage().EngineDir() + "; ./speak \"" + text + "\"\n";
  }

  std::string InPlay(const std::string& name) const { return stage().Play() + "/" + name; }
  static std::string InBrackets(const std::string& argument) { return "[" + argument + "]"; }

  /// The calls that put the stored files into the play directory. \param found what was there
  std::vector<std::string> RotationCalls(const std::vector<std::string>& found) const {
    std::string entries;
    std::string removed;
    for (const std::string& name : found) {
      const std::string entry = InBrackets(InPlay(name));
      entries.append(entry).append(" ");
      removed.append(" ").append(entry);
    }
    std::vector<std::string> calls{
        "find " + entries + InBrackets(InPlay("saveblock")) + " [-name] [*.wav]", "rm" + removed};
    for (const char* name : {"de0.wav", "en0.wav", "de1.wav"}) {
      const std::string stored = stage().Store() + "/" + name;
      calls.push_back("cp " + InBrackets(stored) + " " + InBrackets(InPlay(name)));
    }
    return calls;
  }

  std::string SaveCall(const std::string& text, const std::string& wav) const {
    return "save " + InBrackets(text) + " " + InBrackets(wav);
  }
};

TEST_F(WholeOutput, OfAStationsDayAndTheCommandLinesThatItRan) {
  Start();
  AskData(kBlock);
  AskCommand("de0, fehlt,en0");
  AskText("Guten Tag///und der Rest");
  AskData(kBlock);
  AskData("<rbl><row zug=\"\"/></rbl>");
  AskText("!uAchtung");
  AskCommand("!bell");
  AskCommand("!stop");
  AskCommand("!reboot-stamp");
  EXPECT_EQ(Terminate(), "exit 0");

  const std::string play = stage().Play();
  const std::string save = Echo("savespeechstub", SaveCommand());
  EXPECT_EQ(Out(), StartOutput() + BlockOutput(save, "1") + "new cmd: de0, fehlt,en0 0\naplay " +
                       play + "/de0.wav\naplay " + play + "/en0.wav\n" + SpeakOutput("Guten Tag") +
                       BlockOutput("", "2") + "CheckDataValidity\n" + SpeakOutput("Achtung") +
                       "new cmd: !bell 4\nexecute bell aplay \"" + stage().Sounds() +
                       "/bell.wav\"\nnew cmd: !stop 5\nnew cmd: !reboot-stamp 3\n"
                       "new cmd: !terminate 2\nka-TTS-Server: Dienst endet.\n\n");
  EXPECT_EQ(
      Err(),
      "Backup-File nicht vorhanden\nBackup-File nicht vorhanden\nBackup-File nicht vorhanden\n"
      "Meldung Nr. 3 --- Die Meldung konnte nicht generiert werden!!!\n");

  const std::string store = stage().Store();
  std::vector<std::string> calls{SaveCall(SteadyBase() + ".txt", SteadyBase() + ".wav")};
  for (const char* name : {"/de0", "/en0", "/de1"}) {
    calls.push_back(SaveCall(store + name, store + name + ".wav"));
  }
  const auto append = [&calls](const std::vector<std::string>& more) {
    calls.insert(calls.end(), more.begin(), more.end());
  };
  append(RotationCalls({}));
  append({"aplay [" + play + "/de0.wav]", "aplay [" + play + "/en0.wav]", "speak [Guten Tag]"});
  append(RotationCalls({"de0.wav", "de1.wav", "en0.wav"}));
  append({"killall [-9] [aplay]", "killall [-9] [play]", "speak [Achtung]",
          "aplay [" + stage().Sounds() + "/bell.wav]", "killall [-9] [aplay]",
          "killall [-9] [play]", "reboot"});
  EXPECT_THAT(stubs().Calls(), ElementsAreArray(calls));
}

TEST_F(WholeOutput, TextsAndSpeechFilesOfTheBlock) {
  Start();
  AskData(kBlock);
  EXPECT_EQ(Content(stage().Store() + "/de0"), GermanText());
  EXPECT_EQ(Content(stage().Store() + "/en0"), "\\voice(en) ICE 1 arriving.");
  EXPECT_EQ(Content(stage().Store() + "/de1"), "\\voice(de) Danach RE 7.");
  EXPECT_EQ(Content(stage().Play() + "/de0.wav"), StubSpeech(GermanText()));
  EXPECT_EQ(Entries(stage().Store()),
            (std::vector<std::string>{"de0", "de0.wav", "de1", "de1.wav", "en0", "en0.wav"}));
  EXPECT_EQ(Entries(stage().Play()), (std::vector<std::string>{"de0.wav", "de1.wav", "en0.wav"}));
}

TEST_F(WholeOutput, SecondStartFindsThePreparedPhraseAndRunsNoEngine) {
  Start();
  EXPECT_EQ(Terminate(), "exit 0");
  stubs().ForgetCalls();
  Start();
  EXPECT_THAT(stubs().Calls(), testing::IsEmpty());
  EXPECT_THAT(Out(), testing::HasSubstr("found: " + SteadyBase() + ".txt:  Bitte einsteigen.\n" +
                                        Echo("steadyspeeches", stage().Steady())));
}

TEST_F(WholeOutput, SpeakingAndSavingRunInTheEnginesDirectory) {
  const std::string note = "pwd >>'" + stage().Beside("where") + "'";
  stubs().AddAt(stage().EngineDir() + "/speak", "speak", note);
  stubs().AddAt(stage().EngineDir() + "/save", "save", note);
  Start();
  AskText("Hallo");
  EXPECT_EQ(Content(stage().Beside("where")),
            stage().EngineDir() + "\n" + stage().EngineDir() + "\n");
}

}  // namespace

}  // namespace servertest
