#ifndef KA_TESTS_FAULTS_FAULT_FIXTURE_H
#define KA_TESTS_FAULTS_FAULT_FIXTURE_H

#include <string>
#include <vector>

#include "server/server_fixture.h"

namespace servertest {

constexpr const char* kNoBackup = "Backup-File nicht vorhanden\n";
constexpr const char* kMessageOk = "Meldung OK";

/// \return `full` when the scenarios run in full (KA_FAULTS=full), else `sample`
int Rounds(int sample, int full);

/// A staged server with stubs, and what a server that survived a fault must be able to do.
class FaultTest : public ServerTest {
 protected:
  std::string StoredText(const std::string& name) const {
    return Content(stage().Store() + "/" + name);
  }
  std::string StoredSpeech(const std::string& name) const {
    return Content(stage().Store() + "/" + name + ".wav");
  }
  std::string PlayedSpeech(const std::string& name) const {
    return Content(stage().Play() + "/" + name + ".wav");
  }
  bool Exists(const std::string& path) const;

  /// The engine that saves speech. \param action what it does after its call is recorded
  void UseEngine(const std::string& action) {
    stubs().AddAt(stage().EngineDir() + "/save", "save", action);
  }
  /// The stub that writes "speech of: TEXT".
  void UseGoodEngine();
  /// The default engine, real. \param options of the command that saves
  void UseRealEngine(const std::string& options);
  /// Shipped files.
  static std::string AdapterTemplate();
  static std::string RestartScript();
  /// A real aplay that plays into nothing.
  void UseRealPlayer();

  /// One block for `train`, and its speech in the play directory.
  void ExpectBlockIsServed(const std::string& train) const;
  /// Text and command port answer, and a text is spoken.
  void ExpectOtherPortsServe() const;
  void ExpectAllPortsServe(const std::string& train) const;

  /// Keeps the server's open descriptors in mind, to be compared at the end of the fault.
  void NoteDescriptors() { descriptors_ = OpenDescriptors(Pid()); }
  void ExpectNoDescriptorIsLeft() const;

 private:
  std::vector<int> descriptors_;
};

}  // namespace servertest

#endif
