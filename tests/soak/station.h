#ifndef KA_TESTS_SOAK_STATION_H
#define KA_TESTS_SOAK_STATION_H

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kaDescriptor.h"
#include "server_process.h"
#include "stage.h"

namespace soak {

/// A server with its stage, whose output is read and counted but not kept. One engine run in eight
/// is the real engine's, the others are quick stubs; players last a moment.
class Station {
 public:
  /// \param cacheSeconds quiet time after which the cache is cleared
  explicit Station(int cacheSeconds);
  ~Station();
  Station(const Station&) = delete;
  Station& operator=(const Station&) = delete;

  const servertest::Stage& Stage() const { return stage_; }
  pid_t Pid() const { return server_->Pid(); }
  bool IsRunning() { return server_->IsRunning(); }
  std::string AwaitEnd() { return servertest::Describe(server_->AwaitEnd()); }

  /// How often the cache was cleared by its timer.
  std::size_t CacheClearings() const { return clearings_; }
  std::size_t GoodBlocks() const { return goodBlocks_; }
  std::size_t RefusedBlocks() const { return refusedBlocks_; }
  /// Lines of a sanitizer, which are also printed.
  std::size_t SanitizerLines() const { return sanitizerLines_; }

 private:
  void UseEngines();
  void UsePlayers();
  void Launch();
  void ReadOutput();
  void Count(const std::string& line);

  servertest::Stage stage_;
  kaDescriptor output_;
  std::unique_ptr<servertest::ServerProcess> server_;
  std::atomic<std::size_t> clearings_{0};
  std::atomic<std::size_t> goodBlocks_{0};
  std::atomic<std::size_t> refusedBlocks_{0};
  std::atomic<std::size_t> sanitizerLines_{0};
  std::atomic<std::size_t> messages_{0};
  std::thread reader_;
};

}  // namespace soak

#endif
