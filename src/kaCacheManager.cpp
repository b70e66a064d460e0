#include "kaCacheManager.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <system_error>

#include "kaOutput.h"
#include "kaShared.h"

namespace {

constexpr int kDefaultTimeout = 120;  // seconds

/// Removes everything below `directory`. Nothing is walked when that is empty or the file system's
/// root.
int ClearDirectory(const std::string& directory) {
  constexpr int kMostDescriptors = 64;
  if (directory.find_first_not_of('/') == std::string::npos) return -1;
  return nftw(directory.c_str(), CkaCacheManager::CallBackClearCache, kMostDescriptors, 0);
}

std::string SystemErrorText(int error) {
  return std::error_code(error, std::generic_category()).message();
}

}  // namespace

CkaCacheManager::CkaCacheManager(const std::string& playDirectory,
                                 const std::string& storeDirectory)
    : playPath(playDirectory),
      storePath(storeDirectory),
      timeoutCache(kDefaultTimeout),
      timerID(nullptr),
      sev{} {}

CkaCacheManager::~CkaCacheManager() {
  // A timer that was never created is left alone: its null handle may be another object's timer.
  if (timerID != nullptr) timer_delete(timerID);
}

void CkaCacheManager::setTimeout(int seconds) {
  StoreShared(timeoutCache, seconds);
}

int CkaCacheManager::clearCache() {
  ClearDirectory(playPath);
  return ClearDirectory(storePath);
}

int CkaCacheManager::startCacheTimer() {
  const int failures = timerID == nullptr ? createTimer(&timerID) : 0;
  return failures + setTimer(&timerID, LoadShared(timeoutCache));
}

int CkaCacheManager::createTimer(timer_t* timer) {
  sigevent notification{};
  notification.sigev_notify = SIGEV_THREAD;
  notification.sigev_notify_function = timeoutHandler;
  notification.sigev_value.sival_ptr = this;
  if (timer_create(CLOCK_REALTIME, &notification, timer) == 0) return 0;
  PrintErr("Error creating cache timer" + SystemErrorText(errno) + "\n");
  return 1;
}

int CkaCacheManager::setTimer(timer_t* timer, int seconds) {
  itimerspec time{};
  time.it_value.tv_sec = seconds;
  time.it_interval.tv_sec = seconds;
  if (timer_settime(*timer, 0, &time, nullptr) == 0) return 0;
  PrintErr("Error setting cache timer: " + SystemErrorText(errno) + "\n");
  return 1;
}

void CkaCacheManager::timeoutHandler(sigval value) {
  auto* manager = static_cast<CkaCacheManager*>(value.sival_ptr);
  try {
    PrintOut("***Cache Timeout***\n");
    manager->clearCache();
    manager->setTimer(&manager->timerID, 0);
  } catch (const std::exception& error) {
    PrintErr({"ERROR clearing cache: ", error.what(), "\n"});
  } catch (...) {
    PrintErr("ERROR clearing cache: unknown exception\n");
  }
}

int CkaCacheManager::CallBackClearCache(const char* path, const struct stat* /*status*/,
                                        int /*type*/, struct FTW* position) {
  if (position->level == 0) return 0;
  const int removed = std::remove(path);
  // `remove` never returns more than 0, so nothing is reported: operators rely on a quiet clearing.
  if (removed > 0) PrintErr(std::string("Failed to remove audio file ") + path + "\n");
  return removed;
}
