#include "doctor/examination.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "common/cannot_run.h"

namespace tools {

namespace {

constexpr const char* kServerUser = "ka-tts";
constexpr const char* kSharedLanguage = "all";

std::unique_ptr<const Document> ReadDocument(const Station& station) {
  try {
    return std::make_unique<const Document>(station.Document());
  } catch (const CannotRun&) {
    return nullptr;
  }
}

/// The user of that name, as whom an installed server runs. Asked by the superuser only: another
/// user cannot look through that one's eyes.
std::optional<Identity> InstalledUser() {
  if (geteuid() != 0) return std::nullopt;
  const passwd* entry = getpwnam(kServerUser);  // NOLINT(concurrency-mt-unsafe): one thread
  if (entry == nullptr) return std::nullopt;
  return Identity{entry->pw_uid, entry->pw_gid, {entry->pw_gid}};
}

std::map<std::string, std::string> OwnEnvironment() {
  std::map<std::string, std::string> environment;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string text = *entry;
    environment.emplace(text.substr(0, text.find('=')), text.substr(text.find('=') + 1));
  }
  return environment;
}

bool HasSteady(const Element& language) {
  const auto elements = language.ChildrenCalled("Element");
  return std::any_of(elements.begin(), elements.end(),
                     [](const Element* e) { return e->Value("trait") == "steady"; });
}

}  // namespace

Examination::Examination(const tools::Station& station, DoctorOptions options)
    : station_(station),
      options_(std::move(options)),
      document_(ReadDocument(station)),
      workingDirectory_(station.Root()) {
  const ProcessTable processes = ProcessTable::Read();
  servers_ = processes.ServersOf(station.Root());
  sockets_ = ReadTcpSockets(processes, IsRunning() ? servers_.front().Id : 0);
  if (!IsRunning()) {
    user_ = InstalledUser();
    environment_ = OwnEnvironment();
    return;
  }
  const pid_t server = servers_.front().Id;
  user_ = IdentityOf(server);
  environment_ = EnvironmentOf(server);
  if (environment_.empty()) environment_ = OwnEnvironment();
  const std::string directory = WorkingDirectoryOf(server);
  if (!directory.empty()) workingDirectory_ = directory;
}

bool Examination::SeesWithServerEyes() const {
  return !user_ || geteuid() == 0 || geteuid() == user_->User;
}

std::string Examination::Directory(const std::string& key) const {
  const std::string value = station_.Value(key);
  return value.empty() ? "" : station_.Resolve(value);
}

std::vector<ServerDirectory> Examination::Directories() const {
  std::vector<ServerDirectory> directories = {{"store", StoreDirectory()},
                                              {"play", PlayDirectory()}};
  const std::string steady = Directory("steadyspeeches");
  for (const std::string& language : SteadyLanguages()) {
    const std::string path = steady.empty() ? "" : steady + "/" + language;
    directories.push_back({"steady-" + language, path});
  }
  std::erase_if(directories, [](const ServerDirectory& d) { return d.Path.empty(); });
  return directories;
}

std::vector<std::string> Examination::SteadyLanguages() const {
  std::vector<std::string> names;
  if (document_ == nullptr || document_->References() == nullptr) return names;
  const auto languages = document_->References()->ChildrenCalled("Language");
  const bool isShared = std::any_of(languages.begin(), languages.end(), [](const Element* l) {
    return l->Value("name") == kSharedLanguage && HasSteady(*l);
  });
  for (const Element* language : languages) {
    const std::string name = language->Value("name");
    const bool isKnown = std::find(names.begin(), names.end(), name) != names.end();
    if (name != kSharedLanguage && !isKnown && (isShared || HasSteady(*language)))
      names.push_back(name);
  }
  return names;
}

bool HoldsOn(const std::function<bool()>& condition) {
  constexpr int kLooks = 6;
  for (int look = 0; look < kLooks; ++look) {
    if (look > 0) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    if (!condition()) return false;
  }
  return true;
}

double SecondsOf(const std::timespec& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double AgeOf(const std::timespec& time) {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return std::max(0.0, SecondsOf(now) - SecondsOf(time));
}

}  // namespace tools
