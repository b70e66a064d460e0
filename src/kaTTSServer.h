#ifndef KA_TTS_SERVER_APPLICATION_H
#define KA_TTS_SERVER_APPLICATION_H

#include <cstdint>
#include <string>
#include <vector>

#include "kaGeneralApplication.h"
#include "kaProfile.h"
#include "kaSpeechbuilder.h"
#include "kaTCPIPGet.h"

class CkaCacheManager;

/// The application object: its constructor starts the server, afterwards all work happens in the
/// callbacks of its three listeners. There is one per process; it lives until `exit`.
class CkaTTSServer : public CkaGeneralApplication {
 public:
  /// Commands of the command port. Their texts are the protocol's.
  enum {
    _TTSCMD_NO = 0,
    _TTSCMD_RESTART_SERVER = 1,
    _TTSCMD_STOP_SERVER = 2,
    _TTSCMD_RESTART_DEVICE = 3,
    _TTSCMD_BELL = 4,
    _TTSCMD_STOP_PLAYING = 5
  };

  /// Values of Priority: who has the audio device.
  enum { kIdle = 0, kPlaying = 1, kSpeaking = 2, kUrgent = 3 };

  /// Starts the server. A failure is reported and leaves what was opened before.
  /// \throws std::out_of_range for an announcement document without its main sections
  CkaTTSServer();
  ~CkaTTSServer() override;
  CkaTTSServer(const CkaTTSServer&) = delete;
  CkaTTSServer& operator=(const CkaTTSServer&) = delete;

  /// False once the object is constructed; true would make the program entry end the process.
  bool IsInitialized() const;
  /// The start-up sequence. True if all of it succeeded.
  bool AutoInit();
  /// Loads the four message catalogues. A catalogue that is missing does not make it false.
  bool LoadMessageData();
  /// Waits for the text listener alone; the other two are left as they are. Nothing calls it.
  void CleanUp();

  /// Has the engine speak `text` and waits for it. Always true.
  bool SpeakOut(const std::string& text);
  /// The same for a plain character buffer.
  bool SpeakOut(char* text);
  /// `text` up to the first `delim`, whole if there is none.
  std::string CutDelim(const std::string& text, const std::string& delim) const;

  /// Plays the announcements of a play list. True when played, dropped because the device is taken,
  /// or stopped by an urgent text; false when a rotation went on for too long.
  bool Play(const std::string& list);
  /// The names of a play list. Blanks do not count.
  std::vector<std::string> GetPlayList(std::string list) const;

  /// The command that a text of the command port begins with, _TTSCMD_NO for a play list.
  int CheckCommands(const std::string& text) const;
  /// Carries a command out. Always true.
  bool HandleCommand(int code);

  /// `text` with the lexica applied that its markups select.
  std::string ApplyLexRef(const std::string& text) const;
  /// One segment of a text with the lexica of one reference name applied.
  std::string UseMultiLexicon(const std::string& text, const std::string& refName) const;

  CkaTCPIPGet RegularInput;
  CkaTCPIPGet RBLInput;
  CkaTCPIPGet CMDInput;
  CkaProfile kaConfig;
  CkaSpeechbuilder SpeechBuilder;
  bool bIsInitialized;
  std::string SpeakOutBinPath;  ///< stays empty
  std::string SaveTextBinPath;  ///< stays empty
  std::string BellFile;
  std::int32_t ServerState;  ///< unused
  /// Who has the audio device. Text and command thread read and write it, through LoadShared and
  /// StoreShared only.
  std::int32_t Priority;

 private:
  /// A place in a text at which the lexica change.
  struct kaMark {
    std::size_t Position;
    std::string Name;
  };
  using kaMarkupTable = std::vector<CkaProfile::ProfileEntry>;

  bool OpenListener(CkaTCPIPGet& listener, const char* portKey, kaCallBack callback);
  bool OpenListeners();
  void StartCacheManager();
  void PlayIfPresent(const std::string& name) const;
  kaMarkupTable BuildMarkupTable() const;
  std::vector<kaMark> FindMarks(const std::string& text, const kaMarkupTable& table) const;
  std::vector<std::string> GetReferenceList(const std::string& refName) const;
};

/// Speaks a text of the text port; "!u" in front makes it urgent. Always true.
bool CallBackOnClientSentInput(int buflen, void* buffer, void* pThis);
/// Makes announcements of a data block of the RBL port. Always true.
bool CallBackOnReceiveRBLData(int buflen, void* buffer, void* pThis);
/// Carries out a command or a play list of the command port. Always true.
bool CallBackOnReceiveCommand(int buflen, void* buffer, void* pThis);

/// What is used of a message of the RBL port: all up to the end of its last tag and up to "///".
std::string UsedPartOfBlock(const std::string& message);

/// The application object, set by its constructor before anything else. Null in tools.
extern CkaTTSServer* AppRef;
/// Owned; null until the listeners are open. Read through LoadShared.
extern CkaCacheManager* CacheManager;
/// Data blocks received since the start. Written by the RBL thread, reset at the end of start-up.
extern std::int32_t MessageCounter;

#endif
