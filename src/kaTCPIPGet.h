#ifndef KA_TCPIP_GET_H
#define KA_TCPIP_GET_H

#include <pthread.h>

#include <cstddef>
#include <cstdint>

#include "kaSuperior.h"

/// What a listener calls with each received text, on its own thread.
/// \param buflen always 40; installed callbacks were built with that figure and ignore it
/// \param buffer the text, zero-terminated
/// \param pThis the owner given to OpenServerThread
/// \return not looked at
using kaCallBack = bool (*)(int buflen, void* buffer, void* pThis);

/// Bytes of a message that are read; what comes behind them is lost.
constexpr std::size_t kLongestMessage = 11999;

/// What a listener's thread gets.
struct kaSockData {
  std::uint32_t PortNum = 0;
  kaCallBack CallBackFunction = nullptr;
  void* PCaller = nullptr;
};

/// One TCP port and one thread that serves its connections one after another: one read, the
/// callback, "received\n", close. The thread ends with the process only.
class CkaTCPIPGet : public CkaSuperior {
 public:
  /// Listens on port 50000 unless another is set.
  CkaTCPIPGet();
  explicit CkaTCPIPGet(unsigned int port);
  /// Waits for the thread, i.e. for ever once it was started.
  ~CkaTCPIPGet() override;
  CkaTCPIPGet(const CkaTCPIPGet&) = delete;
  CkaTCPIPGet& operator=(const CkaTCPIPGet&) = delete;

  void Initialize();
  /// Sets the port for the next start. False, keeping the old one, for 0 and above 65534.
  bool SetPortNum(unsigned int port);
  bool IsInitialized() const;
  /// True from the start of the thread on.
  bool IsOn() const;

  /// Starts the thread. False when it was started before or no port is set. A port that cannot be
  /// opened is reported by the thread.
  /// \param caller handed to `callback` unchanged, not owned
  bool OpenServerThread(kaCallBack callback, void* caller);
  bool OpenServerThread();
  /// Waits for the thread to end. Always true.
  bool CloseServerThread();

  /// The thread's body; never returns. \param sockData a kaSockData that outlives the thread
  static void* WaitForCall(void* sockData);

  bool bIsInitialized;
  bool bIsOn;
  std::uint32_t nPortNum;
  pthread_t thread;
  kaSockData sock_data;
};

#endif
