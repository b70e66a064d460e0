#ifndef KA_CACHE_MANAGER_H
#define KA_CACHE_MANAGER_H

#include <ftw.h>
#include <sys/stat.h>
#include <csignal>
#include <ctime>
#include <string>

/// Empties the play and the store directory once a quiet period has passed since the last
/// announcement.
class CkaCacheManager {
 public:
  CkaCacheManager(const std::string& playDirectory, const std::string& storeDirectory);
  virtual ~CkaCacheManager();
  CkaCacheManager(const CkaCacheManager&) = delete;
  CkaCacheManager& operator=(const CkaCacheManager&) = delete;

  /// Seconds of quiet before the directories are cleared; 0 never clears. For the next start.
  void setTimeout(int seconds);
  /// Empties both directories. A subdirectory that is not empty ends the walk of its directory.
  /// \return 0, or what stopped the walk of the store directory (-1).
  int clearCache();
  /// Starts the countdown, or starts it anew. \return number of failures, 0 to 2, each reported
  int startCacheTimer();
  /// Creates a timer whose expiry runs timeoutHandler on a thread of its own. \return 0, or 1
  int createTimer(timer_t* timer);
  /// Sets expiry and interval to `seconds`; 0 disarms. \return 0, or 1
  int setTimer(timer_t* timer, int seconds);
  /// Clears both directories and disarms the timer. \param value holds the manager
  static void timeoutHandler(sigval value);
  /// Removes one entry below the walked directory. \return what `remove` returned; 0 goes on
  static int CallBackClearCache(const char* path, const struct stat* status, int type,
                                struct FTW* position);

  std::string playPath;
  std::string storePath;
  int timeoutCache;
  timer_t timerID;
  sigevent sev;  ///< unused; each timer gets a record of its own
};

#endif
