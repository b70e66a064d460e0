#include "support/rich_station.h"

#include "support/expect.h"
#include "support/output.h"
#include "support/station.h"

namespace fuzz {

const char* const kRichDocument = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<Station>
 <References>
  <Language name="de">
   <Voice sex="male">de</Voice>
   <Lexicon name="words"/>
   <Element id="warn" trait="steady" text="Bitte Vorsicht."/>
   <Element id="time" trait="temp"/>
  </Language>
  <Language name="all">
   <Element id="gong" trait="sound"/>
   <Element id="train" trait="temp"/>
   <Element id="dest" trait="temp"/>
   <Element id="text" trait="temp"/>
   <Element id="delay" trait="temp"/>
  </Language>
  <Language name="en">
   <Voice sex="female">en-gb</Voice>
   <Element id="warn" trait="steady"/>
   <Element id="time" trait="temp"/>
  </Language>
 </References>
 <Assembly>
  <RBLFormat minrows="1" maxrows="3">
   <Attribute name="t" assignto="train" musthavevalue="yes"/>
   <Attribute name="x" assignto="dest"/>
   <Attribute name="d" assignto="dest"/>
   <Attribute name="h" assignto="time" musthavevalue="no"/>
   <Attribute name="l" assignto="delay"/>
  </RBLFormat>
  <Language name="de" generalprefix="\voice(de)" prefer="Male">
   <Announcement position="0">
    <Speech id="gong"/>
    <Speech id="train" prefix="Zug " suffix="," lexicon="words"/>
    <Condition name="onlyDest"><Speech id="dest" prefix=" nach " lexicon="letters"/></Condition>
    <Condition name="nobody"><Speech id="warn"/></Condition>
    <Condition name="lateOrMarked">
     <Speech id="delay" prefix=" um \e1 " suffix=" Minuten" lexicon="x"/>
     <Speech id="warn"/>
    </Condition>
    <Condition name="notLate"><Speech id="text" prefix=" pünktlich"/></Condition>
    <Speech id="unknown" prefix="never"/>
    <Speech id="time" lexicon="absent" suffix=" Uhr"/>
   </Announcement>
   <Announcement position="1" positionMax="9">
    <Speech id="train"/>
    <Condition name="always"><Speech id="dest" prefix=" "/></Condition>
    <Condition name="deep"><Speech id="gong"/></Condition>
    <Condition name="veryLate"><Speech id="text" prefix=" very late"/></Condition>
    <Condition name="early"><Speech id="text" prefix=" early"/></Condition>
    <Condition name="long"><Speech id="text" prefix=" long"/></Condition>
    <Condition name="empty"><Speech id="text" prefix=" never"/></Condition>
    <Condition name="strange"><Speech id="text" prefix=" never"/></Condition>
    <Condition name="ordered"><Speech id="text" prefix=" never"/></Condition>
   </Announcement>
  </Language>
  <Language name="en" generalprefix="\voice(en-gb)">
   <Announcement position="0" positionMax="1">
    <Speech id="train" prefix="Train " lexicon="signs"/>
    <Condition name="tail"><Speech id="text" prefix=" tail"/></Condition>
    <Condition name="short"><Speech id="text" prefix=" short"/></Condition>
    <Condition name="noCase"><Speech id="text" prefix="never"/></Condition>
   </Announcement>
   <Announcement position="1">
    <Speech id="train"/>
    <Condition name="middle"><Speech id="warn"/></Condition>
    <Condition name="notMiddle"><Speech id="text" prefix=" not"/></Condition>
    <Speech id="text" prefix="lost"/></Announcement>
  </Language>
  <Case id="deep" operator="NOR"><Case ref="lateOrMarked"/><Case ref="always"/></Case>
  <Case id="lateOrMarked" operator="OR"><Case ref="late"/><Case ref="marked"/></Case>
  <Case id="onlyDest" operator="AND"><Case ref="dest"/><Case ref="unmarked"/></Case>
  <Case id="notLate" operator="NOT"><Case ref="late"/></Case>
  <Case id="always" operator="NAND"><Case ref="late"/><Case ref="notLate"/></Case>
  <Case id="nobody" operator="XOR"><Case ref="late"/></Case>
  <Case id="empty"/>
  <Case id="late" substr="l" type="number" operator="gt" begin="0" end="-1" value="0"/>
  <Case id="veryLate" substr="l" type="number" operator="ge" begin="0" end="-1" value="60"/>
  <Case id="early" substr="l" type="Number" operator="lt" begin="0" end="-1" value="0"/>
  <Case id="marked" substr="t" type="string" operator="has" begin="0" end="-1" value="*!ß"/>
  <Case id="unmarked" substr="t" type="String" operator="hasnot" begin="0" end="-1" value="*!"/>
  <Case id="dest" strlen="d" operator="ne" value="0"/>
  <Case id="short" strlen="d" operator="le" value="3"/>
  <Case id="long" strlen="d" operator="gt" value=" 10x"/>
  <Case id="middle" substr="t" type="string" operator="eq" begin="1" end="2" value="CE"/>
  <Case id="notMiddle" substr="t" type="string" operator="ne" begin="1" end="3" value="CE"/>
  <Case id="tail" substr="t" type="number" operator="eq" begin="3" end="-1" value="9"/>
  <Case id="strange" substr="t" type="text" operator="eq" begin="0" end="0" value=""/>
  <Case id="ordered" substr="t" type="string" operator="le" begin="0" end="0" value="Z"/>
 </Assembly>
</Station>
)xml";

const char* const kRichBlock = R"xml(<block>
 <row t="ICE 9" d="Hbf" h="12:45" l="5"/>
 <row t="ICE*" d="Köln &amp; Bonn" x="ab" l="-1" h="\e0:05"/>
 <row t="RE 99" d=""/>
</block>)xml";

void WriteLexica(const std::string& directory) {
  const std::string path = "lexidata" + directory;
  WriteFile(path + "/letters", "a=\"b\"\nb=\"c\"\nc=\"\"\nfaulty\n");
  WriteFile(path + "/words", "Hbf=\"Hauptbahnhof\"\nICE =\"Intercity-Express \"\n");
  WriteFile(path + "/signs", "/=\" oder \"\n&=\" und \"\n.=\"\"\nä=\"ae\"\n");
}

CkaSpeechbuilder& PrepareRichStation() {
  const Output quiet;
  const std::string& root = TheDirectory();
  CkaSpeechbuilder& builder = TheServer().SpeechBuilder;
  UseAsRoot(root);
  WriteLexica("/de");
  WriteLexica("/en");
  WriteFile("store/de0.wav", "");
  WriteFile("store/en1.wav", "");
  WriteFile("kaconfig/kaTtsServer.kacfg",
            "savespeechvoxeng=\"/opt/tts/bin/save\"\n"
            "engineName=\"voxeng\"\n"
            "nonvoicesounds=\"/opt/sounds\"\n"
            "steadyspeeches=\"./steady\"\n"
            "storetempram=\"./store\"\n"
            "playtempram=\"./play\"\n");
  Expect("the document can be read", builder.Initialize(WriteFile("station.xml", kRichDocument)));
  return builder;
}

}  // namespace fuzz
