#include "kaSpeechFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "kaTTSServer.h"
#include "output_of.h"
#include "support/recording_shell.h"
#include "support/station.h"
#include "support/temp_dir.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kVoice = "<Voice sex='male'>anna</Voice>";

std::string DocumentOf(const std::string& references) {
  return "<doc><References>" + references + "</References><Assembly/></doc>";
}

/// A language with a voice and this further content.
std::string LanguageOf(const std::string& name, const std::string& content) {
  return "<Language name='" + name + "'>" + kVoice + content + "</Language>";
}

/// Loads the references into `format` and reads them.
bool Read(CkaSpeechFormat& format, const std::string& references) {
  EXPECT_TRUE(format.Initialize(DocumentOf(references), false, true));
  return format.ReadReferences();
}

/// Without an application object: nothing but the records.
class SpeechFormat : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(AppRef, nullptr); }

  bool Read(const std::string& references) { return ::Read(Format, references); }

  CkaSpeechFormat Format;
};

std::vector<std::string> ElementsOf(const KaLangRef& language) {
  std::vector<std::string> elements;
  for (const kaTTSElement& element : language.Elements) {
    elements.push_back(element.id + " " + std::to_string(element.trait));
  }
  return elements;
}

/// With an application object that knows a directory for prepared speech and an engine "voice".
class SteadySpeech : public testing::Test {
 protected:
  SteadySpeech() {
    Server.Set("steadyspeeches", Steady);
    Server->SpeechBuilder.engineName = "voice";
    Server->SpeechBuilder.kaConfig.ProfValues.push_back({"savespeechvoice", "/opt/tts/save -x"});
  }

  /// Reads German references with these elements and returns what was printed.
  Printed ReadGerman(const std::string& elements) { return Read(LanguageOf("de", elements)); }
  Printed Read(const std::string& references) {
    CkaSpeechFormat format;
    Printed printed = OutputOf([&] { Result = ::Read(format, references); });
    Languages = format.GetLanguages();
    return printed;
  }

  std::string Base(const std::string& id, const std::string& language = "de") const {
    return Steady + "/" + language + "/" + id;
  }
  /// The command line that makes the speech file of a text file.
  static std::string Command(const std::string& base) {
    return "cd /opt/tts; /opt/tts/save -x \"" + base + ".txt\" " + base + ".wav";
  }
  std::string Lookup() const { return "GetValueString: steadyspeeches=" + Steady + "\n"; }
  static std::string Found(const std::string& base, const std::string& text) {
    return "found: " + base + ".txt:  " + text + "\n";
  }
  static std::string Built(const std::string& base) {
    return "steady build ####################\n"
           "GetValueString: savespeechvoice=/opt/tts/save -x\n"
           "SaveSpeech CMD: " +
           Command(base) + "\n";
  }

  support::TempDir Directory;
  const std::string Steady = Directory.MakeDir("steady");
  const std::string German = Directory.MakeDir("steady/de");
  support::IdleServer Server;
  support::RecordingShell Shell;
  bool Result = false;
  std::vector<KaLangRef> Languages;
};

}  // namespace

TEST_F(SpeechFormat, StartsEmpty) {
  EXPECT_EQ(Format.GetClassMsgID(), 10100U);
  EXPECT_EQ(Format.GetLanguageCount(), 0);
  EXPECT_EQ(Format.GetFirstVoice("de"), "");
  EXPECT_EQ(Format.GetElementTrait("de", "gong"), CkaSpeechFormat::_KASerror);
}

TEST_F(SpeechFormat, TraitsHaveTheirNumbers) {
  EXPECT_EQ(CkaSpeechFormat::_KASsteady, 0);
  EXPECT_EQ(CkaSpeechFormat::_KASsound, 1);
  EXPECT_EQ(CkaSpeechFormat::_KAStemp, 2);
  EXPECT_EQ(CkaSpeechFormat::_KASerror, 3);
}

TEST_F(SpeechFormat, LanguageIsReadWithAllItHas) {
  ASSERT_TRUE(Read(
      "<Language name='de'>\n<Voice sex='female'>anna</Voice>\n<Voice sex='male'>bernd</Voice>\n"
      "<Lexicon name='zug'/>\n<Lexicon/>\n<Element id='gong' trait='sound'/>\n"
      "<Element id='zug' trait='temp'/>\n<Element trait='steady'/>\n</Language>"));
  const std::vector<KaLangRef> languages = Format.GetLanguages();
  ASSERT_EQ(languages.size(), 1U);
  EXPECT_EQ(languages[0].LangName, "de");
  ASSERT_EQ(languages[0].Voices.size(), 2U);
  EXPECT_EQ(languages[0].Voices[0].Name, "anna");
  EXPECT_EQ(languages[0].Voices[0].Sex, 2);
  EXPECT_EQ(languages[0].Voices[1].Name, "bernd");
  EXPECT_EQ(languages[0].Voices[1].Sex, 1);
  EXPECT_THAT(languages[0].Lexica, ElementsAre("zug", ""));
  EXPECT_THAT(ElementsOf(languages[0]), ElementsAre("gong 1", "zug 2", " 0"));
}

TEST_F(SpeechFormat, WithoutALanguageTheReadFails) {
  EXPECT_FALSE(Read(""));
  EXPECT_FALSE(Read("<x><Language name='de'/></x>"));
}

TEST_F(SpeechFormat, OnlyTheSharedLanguageGivesNone) {
  EXPECT_TRUE(Read("<Language name='all'><Element id='a' trait='faulty'/></Language>"));
  EXPECT_EQ(Format.GetLanguageCount(), 0);
}

TEST_F(SpeechFormat, SharedLanguageComesAfterEachLanguagesOwn) {
  ASSERT_TRUE(Read(LanguageOf("de", "<Lexicon name='d'/><Element id='d' trait='temp'/>") +
                   "<Language name='all'><Lexicon name='a'/><Element id='a' trait='sound'/>"
                   "<Voice sex='x'>ignored</Voice></Language>" +
                   LanguageOf("en", "<Lexicon name='e'/><Element id='e' trait='temp'/>")));
  const std::vector<KaLangRef> languages = Format.GetLanguages();
  ASSERT_EQ(languages.size(), 2U);
  EXPECT_EQ(languages[0].LangName + languages[1].LangName, "deen");
  EXPECT_THAT(languages[0].Lexica, ElementsAre("d", "a"));
  EXPECT_THAT(languages[1].Lexica, ElementsAre("e", "a"));
  EXPECT_THAT(ElementsOf(languages[0]), ElementsAre("d 2", "a 1"));
  EXPECT_THAT(ElementsOf(languages[1]), ElementsAre("e 2", "a 1"));
  EXPECT_EQ(languages[0].Voices.size(), 1U);
}

TEST_F(SpeechFormat, LastSharedLanguageReplacesTheOthers) {
  ASSERT_TRUE(Read("<Language name='all'><Lexicon name='1'/></Language>" + LanguageOf("de", "") +
                   "<Language name='all'><Lexicon name='2'/></Language>"));
  EXPECT_THAT(Format.GetLanguages().at(0).Lexica, ElementsAre("2"));
}

TEST_F(SpeechFormat, FaultySharedElementFailsTheRead) {
  EXPECT_FALSE(Read(LanguageOf("de", "") + "<Language name='all'><Element trait='x'/></Language>"));
}

TEST_F(SpeechFormat, NameAllIsExact) {
  ASSERT_TRUE(
      Read(LanguageOf("All", "") + LanguageOf("", "") + "<Language>" + kVoice + "</Language>"));
  EXPECT_EQ(Format.GetLanguageCount(), 3);
  EXPECT_EQ(Format.GetLanguages().at(2).LangName, "");
}

TEST_F(SpeechFormat, LanguageWithoutAVoiceFailsTheRead) {
  EXPECT_FALSE(Read(LanguageOf("de", "") + "<Language name='en'><Lexicon name='l'/></Language>" +
                    LanguageOf("fr", "")));
  ASSERT_EQ(Format.GetLanguageCount(), 2);
  EXPECT_EQ(Format.GetLanguages().at(1).LangName, "en");
  EXPECT_THAT(Format.GetLanguages().at(1).Lexica, IsEmpty());
}

TEST_F(SpeechFormat, VoicesNeedAWordForTheirSexAndTwoLettersOfName) {
  const struct {
    const char* Voice;
    bool Accepted;
    int Sex;
  } voices[] = {{"<Voice sex='male'>ab</Voice>", true, 1},
                {"<Voice sex='female'>ab</Voice>", true, 2},
                {"<Voice sex='Male'>ab</Voice>", true, 0},
                {"<Voice sex='Female'>ab</Voice>", true, 0},
                {"<Voice sex='none'>ab</Voice>", true, 0},
                {"<Voice sex='    '>ab</Voice>", true, 0},
                {"<Voice sex='male'> a</Voice>", true, 1},
                {"<Voice sex='male'>a</Voice>", false, 0},
                {"<Voice sex='male'></Voice>", false, 0},
                {"<Voice sex='male'/>", false, 0},
                {"<Voice sex='male'><x>anna</x></Voice>", false, 0},
                {"<Voice sex='m'>ab</Voice>", false, 0},
                {"<Voice sex='man'>ab</Voice>", false, 0},
                {"<Voice sex=''>ab</Voice>", false, 0},
                {"<Voice>ab</Voice>", false, 0}};
  for (const auto& [voice, accepted, sex] : voices) {
    CkaSpeechFormat format;
    const std::string references = "<Language name='de'>" + std::string(voice) + "</Language>";
    ASSERT_EQ(::Read(format, references), accepted) << voice;
    if (accepted) {
      EXPECT_EQ(format.GetLanguages().at(0).Voices.at(0).Sex, sex) << voice;
    }
  }
}

TEST_F(SpeechFormat, CapitalisedSexIsDeliberatelyNotRecognised) {
  ASSERT_TRUE(Read("<Language name='de'><Voice sex='Male'>anna</Voice></Language>"));
  EXPECT_EQ(Format.GetLanguages().at(0).Voices.at(0).Sex, 0);
}

TEST_F(SpeechFormat, SexOfASingleLetterFailsTheRead) {
  EXPECT_FALSE(Read("<Language name='de'><Voice sex='m'>anna</Voice></Language>"));
}

TEST_F(SpeechFormat, VoicesBeforeAFaultyOneStay) {
  EXPECT_FALSE(Read("<Language name='de'>" + std::string(kVoice) + "<Voice>x</Voice></Language>"));
  EXPECT_EQ(Format.GetLanguages().at(0).Voices.size(), 1U);
}

TEST_F(SpeechFormat, VoiceNameIsNotTrimmed) {
  ASSERT_TRUE(Read("<Language name='de'><Voice sex='male'> an\\ea\n</Voice></Language>"));
  EXPECT_EQ(Format.GetFirstVoice("de"), " an\\ea\n");
}

TEST_F(SpeechFormat, FirstVoiceIsTheOneOfTheLastLanguageOfTheName) {
  ASSERT_TRUE(
      Read("<Language name='de'><Voice sex='male'>v1</Voice></Language>"
           "<Language name='en'><Voice sex='male'>v2</Voice></Language>"
           "<Language name='de'><Voice sex='male'>v3</Voice><Voice sex='male'>v4</Voice>"
           "</Language>"));
  EXPECT_EQ(Format.GetFirstVoice("de"), "v3");
  EXPECT_EQ(Format.GetFirstVoice("en"), "v2");
  EXPECT_EQ(Format.GetFirstVoice("DE"), "");
}

TEST_F(SpeechFormat, UnknownElementOfAKnownLanguageIs3) {
  ASSERT_TRUE(Read(LanguageOf("de", "<Element id='gong' trait='sound'/>")));
  EXPECT_EQ(Format.GetElementTrait("de", "gong"), 1);
  EXPECT_EQ(Format.GetElementTrait("de", "Gong"), 3);
  EXPECT_EQ(Format.GetElementTrait("de", ""), 3);
  EXPECT_EQ(Format.GetElementTrait("fr", "gong"), 3);
}

TEST_F(SpeechFormat, LastElementOfTheLastLanguageOfTheNameWins) {
  ASSERT_TRUE(Read(LanguageOf("de",
                              "<Element id='a' trait='sound'/><Element id='b' "
                              "trait='sound'/>") +
                   LanguageOf("de",
                              "<Element id='a' trait='sound'/><Element id='a' "
                              "trait='temp'/>")));
  EXPECT_EQ(Format.GetElementTrait("de", "a"), 2);
  EXPECT_EQ(Format.GetElementTrait("de", "b"), 3);
}

TEST_F(SpeechFormat, SharedElementWinsOverTheLanguagesOwn) {
  ASSERT_TRUE(Read("<Language name='all'><Element id='a' trait='sound'/></Language>" +
                   LanguageOf("de", "<Element id='a' trait='temp'/>")));
  EXPECT_EQ(Format.GetElementTrait("de", "a"), 1);
}

TEST_F(SpeechFormat, TraitsAreExactWords) {
  for (const char* trait : {"Steady", "STEADY", "Sound", "Temp", "steady ", "", "error"}) {
    CkaSpeechFormat format;
    const std::string element = "<Element id='b' trait='" + std::string(trait) + "'/>";
    EXPECT_FALSE(::Read(format, LanguageOf("de", "<Element id='a' trait='temp'/>" + element)));
    EXPECT_THAT(ElementsOf(format.GetLanguages().at(0)), ElementsAre("a 2")) << trait;
  }
  EXPECT_FALSE(Read(LanguageOf("de", "<Element id='a'/>")));
}

TEST_F(SpeechFormat, LexiconExistsIsAlwaysFalse) {
  ASSERT_TRUE(Read(LanguageOf("de", "<Lexicon name='zug'/>")));
  EXPECT_FALSE(Format.LexiconExists("zug"));
  EXPECT_FALSE(Format.LexiconExists(""));
}

TEST_F(SpeechFormat, GetLanguagesGivesACopy) {
  ASSERT_TRUE(Read(LanguageOf("de", "")));
  Format.GetLanguages().at(0).LangName = "x";
  EXPECT_EQ(Format.GetLanguages().at(0).LangName, "de");
}

TEST_F(SpeechFormat, EscapesInAttributesAreReplaced) {
  ASSERT_TRUE(Read(LanguageOf("de", "<Lexicon name='\\el'/><Element id='a\\e' trait='temp'/>")));
  EXPECT_EQ(Format.GetElementTrait("de", "a\x1b"), 2);
  EXPECT_THAT(Format.GetLanguages().at(0).Lexica, ElementsAre("\x1bl"));
}

TEST_F(SpeechFormat, ReadingTwiceAppendsAgain) {
  ASSERT_TRUE(Read(LanguageOf("de", "") + LanguageOf("en", "")));
  ASSERT_TRUE(Format.ReadReferences());
  EXPECT_EQ(Format.GetLanguageCount(), 4);
}

TEST_F(SpeechFormat, OnlyTheFirstReferencesAreRead) {
  ASSERT_TRUE(Format.Initialize("<doc><References>" + LanguageOf("de", "") +
                                    "</References><Assembly/><References>" + LanguageOf("en", "") +
                                    "</References></doc>",
                                false, true));
  ASSERT_TRUE(Format.ReadReferences());
  ASSERT_EQ(Format.GetLanguageCount(), 1);
  EXPECT_EQ(Format.GetLanguages().at(0).LangName, "de");
}

TEST_F(SpeechFormat, MissingReferencesOrAssemblyThrows) {
  ASSERT_TRUE(Format.Initialize("<doc><Assembly/></doc>", false, true));
  EXPECT_THROW(Format.ReadReferences(), std::out_of_range);
  ASSERT_TRUE(Format.Initialize("<doc><References/></doc>", false, true));
  EXPECT_THROW(Format.ReadReferences(), std::out_of_range);
}

TEST_F(SpeechFormat, UninitialisedReaderSaysSoWithoutALineEnd) {
  EXPECT_EQ(OutputOf([&] { Format.SetMainNodes(); }), OnlyErr("Erst XML initialisieren"));
  EXPECT_EQ(Format.pRootNode, nullptr);
  EXPECT_EQ(Format.pRefNode, nullptr);
  EXPECT_EQ(Format.pAssemNode, nullptr);
}

TEST_F(SpeechFormat, WithoutAnApplicationNoFileAndNoEngineIsTouched) {
  const support::TempDir directory;
  const support::ServerRoot root(directory.Path());
  const support::RecordingShell shell;
  directory.MakeDir("de");
  EXPECT_EQ(
      OutputOf([&] { Read(LanguageOf("de", "<Element id='a' trait='steady' text='hello'/>")); }),
      Nothing());
  EXPECT_EQ(Format.GetElementTrait("de", "a"), 0);
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(directory.Sub("de")));
}

// Prepared speech.

TEST_F(SteadySpeech, NewTextIsWrittenAndBuilt) {
  EXPECT_EQ(ReadGerman("<Element id='hallo' trait='steady' text='Guten Tag'/>"),
            OnlyOut(Lookup() + Found(Base("hallo"), "Guten Tag") + Built(Base("hallo"))));
  EXPECT_TRUE(Result);
  EXPECT_THAT(ElementsOf(Languages.at(0)), ElementsAre("hallo 0"));
  EXPECT_EQ(support::ReadFile(Base("hallo") + ".txt"), "Guten Tag");
  EXPECT_THAT(Shell.Commands(), ElementsAre(Command(Base("hallo"))));
}

TEST_F(SteadySpeech, UnchangedTextWithItsSpeechIsFoundAndNotBuilt) {
  Directory.Write("steady/de/hallo.txt", "Guten Tag");
  Directory.Write("steady/de/hallo.wav", "speech");
  EXPECT_EQ(ReadGerman("<Element id='hallo' trait='steady' text='Guten Tag'/>"),
            OnlyOut(Lookup() + Found(Base("hallo"), "Guten Tag")));
  EXPECT_THAT(Shell.Commands(), IsEmpty());
  EXPECT_THAT(ElementsOf(Languages.at(0)), ElementsAre("hallo 0"));
}

TEST_F(SteadySpeech, ChangedTextIsRewrittenAndBuilt) {
  Directory.Write("steady/de/hallo.txt", "Guten Tag und mehr\n");
  Directory.Write("steady/de/hallo.wav", "speech");
  EXPECT_EQ(ReadGerman("<Element id='hallo' trait='steady' text='Guten Tag'/>"),
            OnlyOut(Lookup() + Found(Base("hallo"), "Guten Tag") + Built(Base("hallo"))));
  EXPECT_EQ(support::ReadFile(Base("hallo") + ".txt"), "Guten Tag");
  EXPECT_THAT(Shell.Commands(), ElementsAre(Command(Base("hallo"))));
}

TEST_F(SteadySpeech, MissingSpeechOfAnUnchangedTextIsBuilt) {
  Directory.Write("steady/de/hallo.txt", "Guten Tag");
  EXPECT_EQ(ReadGerman("<Element id='hallo' trait='steady' text='Guten Tag'/>"),
            OnlyOut(Lookup() + Found(Base("hallo"), "Guten Tag") + Built(Base("hallo"))));
  EXPECT_THAT(Shell.Commands(), ElementsAre(Command(Base("hallo"))));
}

TEST_F(SteadySpeech, MissingSpeechOfATextFileIsBuiltWithoutAText) {
  Directory.Write("steady/de/hallo.txt", "Guten Tag");
  EXPECT_EQ(ReadGerman("<Element id='hallo' trait='steady'/>"),
            OnlyOut(Lookup() + Built(Base("hallo"))));
  EXPECT_EQ(support::ReadFile(Base("hallo") + ".txt"), "Guten Tag");
}

TEST_F(SteadySpeech, ElementWithoutTextAndTextFileDoesNothing) {
  EXPECT_EQ(ReadGerman("<Element id='a' trait='steady'/><Element id='b' trait='steady' text=''/>"),
            OnlyOut(Lookup()));
  EXPECT_TRUE(std::filesystem::is_empty(German));
  EXPECT_THAT(Shell.Commands(), IsEmpty());
  EXPECT_THAT(ElementsOf(Languages.at(0)), ElementsAre("a 0", "b 0"));
}

TEST_F(SteadySpeech, TextThatCannotBeWrittenIsFoundEmptyAndNotBuilt) {
  EXPECT_EQ(Read(LanguageOf("fr", "<Element id='salut' trait='steady' text='Bonjour'/>")),
            OnlyOut(Lookup() + Found(Base("salut", "fr"), "")));
  EXPECT_TRUE(Result);
  EXPECT_FALSE(std::filesystem::exists(Steady + "/fr"));
  EXPECT_THAT(Shell.Commands(), IsEmpty());
  EXPECT_THAT(ElementsOf(Languages.at(0)), ElementsAre("salut 0"));
}

TEST_F(SteadySpeech, SoundsAndValuesTouchNoFile) {
  EXPECT_EQ(ReadGerman("<Element id='a' trait='sound' text='x'/><Element id='b' trait='temp' "
                       "text='y'/>"),
            OnlyOut(Lookup()));
  EXPECT_TRUE(std::filesystem::is_empty(German));
  EXPECT_THAT(Shell.Commands(), IsEmpty());
}

TEST_F(SteadySpeech, SharedElementIsBuiltForEachLanguage) {
  Directory.MakeDir("steady/en");
  const Printed printed =
      Read("<Language name='all'><Element id='a' trait='steady' text='A'/></Language>" +
           LanguageOf("de", "<Element id='d' trait='steady' text='D'/>") + LanguageOf("en", ""));
  EXPECT_EQ(printed.Out, Lookup() + Found(Base("d"), "D") + Built(Base("d")) +  //
                             Lookup() + Found(Base("a"), "A") + Built(Base("a")) + Lookup() +
                             Found(Base("a", "en"), "A") + Built(Base("a", "en")));
  EXPECT_THAT(Shell.Commands(),
              ElementsAre(Command(Base("d")), Command(Base("a")), Command(Base("a", "en"))));
}

TEST_F(SteadySpeech, DirectoryIsLookedUpOncePerLanguageWithElements) {
  EXPECT_EQ(Read("<Language name='all'/>" + LanguageOf("de", "") +
                 LanguageOf("en", "<Element id='a' trait='temp'/><Element id='b' trait='temp'/>")),
            OnlyOut(Lookup()));
}

TEST_F(SteadySpeech, DirectoryResolvesAgainstTheServersRoot) {
  const support::ServerRoot root(Directory.Path());
  Server->kaConfig.ProfValues.clear();
  Server.Set("steadyspeeches", "./steady");
  EXPECT_EQ(ReadGerman("<Element id='hallo' trait='steady' text='Guten Tag'/>"),
            OnlyOut("GetValueString: steadyspeeches=./steady\n" +
                    Found(Base("hallo"), "Guten Tag") + Built(Base("hallo"))));
}

TEST_F(SteadySpeech, MissingDirectoryKeyIsAnEmptyPath) {
  const support::ServerRoot root(Directory.Path());
  Directory.MakeDir("no-such-language");
  Server->kaConfig.ProfValues.clear();
  EXPECT_EQ(
      Read(LanguageOf("no-such-language", "<Element id='x' trait='steady' text='y'/>")),
      OnlyOut("GetValueString: steadyspeeches=Not Found\n" + Found("/no-such-language/x", "")));
  EXPECT_TRUE(std::filesystem::is_empty(Directory.Sub("no-such-language")));
}

TEST_F(SteadySpeech, EscapeInTheTextIsWritten) {
  ReadGerman("<Element id='a' trait='steady' text='x\\ey'/>");
  EXPECT_EQ(support::ReadFile(Base("a") + ".txt"), "x\x1by");
}

TEST_F(SteadySpeech, ElementsBeforeAFaultyOneAreBuilt) {
  ReadGerman(
      "<Element id='a' trait='steady' text='A'/><Element id='b' trait='Steady' text='B'/>"
      "<Element id='c' trait='steady' text='C'/>");
  EXPECT_FALSE(Result);
  EXPECT_THAT(Shell.Commands(), ElementsAre(Command(Base("a"))));
  EXPECT_FALSE(std::filesystem::exists(Base("b") + ".txt"));
  EXPECT_FALSE(std::filesystem::exists(Base("c") + ".txt"));
}

TEST_F(SteadySpeech, OverLongIdIsFoundEmptyAndNotBuilt) {
  const std::string id(5000, 'x');
  EXPECT_EQ(ReadGerman("<Element id='" + id + "' trait='steady' text='y'/>"),
            OnlyOut(Lookup() + Found(Base(id), "")));
  EXPECT_TRUE(Result);
  EXPECT_THAT(Shell.Commands(), IsEmpty());
}

TEST_F(SteadySpeech, DirectoryInPlaceOfTheTextFileEndsNothing) {
  Directory.MakeDir("steady/de/hallo.txt");
  EXPECT_NO_THROW(ReadGerman("<Element id='hallo' trait='steady' text='Guten Tag'/>"));
  EXPECT_TRUE(Result);
  EXPECT_THAT(ElementsOf(Languages.at(0)), ElementsAre("hallo 0"));
}

// The file functions.

TEST(SpeechFiles, ExistsfAsksForAnythingAtThePath) {
  const support::TempDir directory;
  EXPECT_TRUE(existsf(directory.Write("x", "")));
  EXPECT_TRUE(existsf(directory.Path()));
  EXPECT_FALSE(existsf(directory.Sub("y")));
  EXPECT_FALSE(existsf(""));
  EXPECT_FALSE(existsf("/" + std::string(5000, 'x')));
}

TEST(SpeechFiles, ReadfReadsTheWholeFile) {
  const support::TempDir directory;
  const std::string content("a\0b\n\xff", 5);
  EXPECT_EQ(readf(directory.Write("x", content)), content);
  EXPECT_EQ(OutputOf([&] { readf(directory.Sub("y")); }), Nothing());
  EXPECT_EQ(readf(directory.Sub("y")), "");
  EXPECT_EQ(readf(directory.Path()), "");
  EXPECT_EQ(readf("/" + std::string(5000, 'x')), "");
}

TEST(SpeechFiles, WritefReplacesTheContent) {
  const support::TempDir directory;
  const std::string path = directory.Write("x", "long before");
  EXPECT_TRUE(writef(path, "now"));
  EXPECT_EQ(support::ReadFile(path), "now");
  EXPECT_TRUE(writef(directory.Sub("new"), ""));
  EXPECT_TRUE(existsf(directory.Sub("new")));
  EXPECT_FALSE(writef(directory.Sub("none/x"), "now"));
  EXPECT_FALSE(writef("/" + std::string(5000, 'x'), "now"));
}
