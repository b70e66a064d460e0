#include "sweep_plan.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>

namespace faults {

namespace {

constexpr Error kEACCES{"EACCES", EACCES};
constexpr Error kEADDRINUSE{"EADDRINUSE", EADDRINUSE};
constexpr Error kEADDRNOTAVAIL{"EADDRNOTAVAIL", EADDRNOTAVAIL};
constexpr Error kEAFNOSUPPORT{"EAFNOSUPPORT", EAFNOSUPPORT};
constexpr Error kEAGAIN{"EAGAIN", EAGAIN};
constexpr Error kEBUSY{"EBUSY", EBUSY};
constexpr Error kECONNABORTED{"ECONNABORTED", ECONNABORTED};
constexpr Error kECONNRESET{"ECONNRESET", ECONNRESET};
constexpr Error kEINTR{"EINTR", EINTR};
constexpr Error kEINVAL{"EINVAL", EINVAL};
constexpr Error kEIO{"EIO", EIO};
constexpr Error kEISDIR{"EISDIR", EISDIR};
constexpr Error kEMFILE{"EMFILE", EMFILE};
constexpr Error kENFILE{"ENFILE", ENFILE};
constexpr Error kENOBUFS{"ENOBUFS", ENOBUFS};
constexpr Error kENOENT{"ENOENT", ENOENT};
constexpr Error kENOMEM{"ENOMEM", ENOMEM};
constexpr Error kENOPROTOOPT{"ENOPROTOOPT", ENOPROTOOPT};
constexpr Error kENOSPC{"ENOSPC", ENOSPC};
constexpr Error kENOSYS{"ENOSYS", ENOSYS};
constexpr Error kEPERM{"EPERM", EPERM};
constexpr Error kEPIPE{"EPIPE", EPIPE};
constexpr Error kEPROTO{"EPROTO", EPROTO};
constexpr Error kEROFS{"EROFS", EROFS};
constexpr Error kETIMEDOUT{"ETIMEDOUT", ETIMEDOUT};

std::vector<Row> StartRows() {
  return {
      {Phase::kStart, "mmap", {kENOMEM, kEAGAIN}, {}},
      {Phase::kStart, "openat", {kEMFILE, kENFILE, kEACCES, kENOENT, kENOMEM}, {}},
      {Phase::kStart, "read", {kEIO, kENOMEM}, {}},
      {Phase::kStart, "clone3", {kEAGAIN, kENOMEM, kEPERM, kENOSYS}, {}},
      {Phase::kStart, "unlink", {kEACCES, kEBUSY, kEIO, kEISDIR, kENOENT, kEPERM, kEROFS}, {}},
      {Phase::kListeners,
       "socket",
       {kEMFILE, kENFILE, kENOBUFS, kENOMEM, kEACCES, kEAFNOSUPPORT},
       {}},
      {Phase::kListeners, "setsockopt", {kENOPROTOOPT, kEINVAL, kENOMEM}, {}},
      {Phase::kListeners, "bind", {kEADDRINUSE, kEACCES, kEADDRNOTAVAIL, kEINVAL, kENOMEM}, {}},
      {Phase::kListeners, "listen", {kEADDRINUSE, kENOMEM}, {}},
      // The first time stamp.
      {Phase::kListeners, "openat", {kEMFILE, kENOENT, kEACCES}, {}, "/etc/localtime"},
  };
}

/// What the three listeners have in common.
std::vector<Row> ConnectionRows(Phase phase) {
  return {
      {phase, "listen", {kEADDRINUSE, kEINVAL}, {}},
      {phase,
       "accept4",
       {kEMFILE, kENFILE, kENOBUFS, kENOMEM, kEPERM, kEINVAL},
       {kEINTR, kECONNABORTED, kEPROTO, kEAGAIN}},
      {phase, "setsockopt", {kENOPROTOOPT, kEINVAL}, {}},
      {phase, "read", {kECONNRESET, kETIMEDOUT, kEIO, kENOMEM, kEAGAIN}, {kEINTR}},
      {phase, "sendto", {kEPIPE, kECONNRESET, kENOBUFS, kENOMEM, kEAGAIN}, {kEINTR}},
      {phase, "clone3", {kEAGAIN, kENOMEM, kEPERM, kENOSYS}, {}},
      {phase, "mmap", {kENOMEM, kEAGAIN}, {}},
  };
}

std::vector<Row> FileRows(Phase phase) {
  return {
      {phase, "openat", {kEMFILE, kENFILE, kEACCES, kENOMEM, kENOSPC, kEROFS}, {kEINTR}},
      {phase, "unlink", {kEACCES, kEBUSY, kEIO, kEISDIR, kENOMEM, kEPERM, kEROFS}, {}},
  };
}

std::vector<Row> TimerRows() {
  return {
      {Phase::kData, "timer_create", {kEAGAIN, kENOMEM, kEINVAL}, {}},
      {Phase::kData, "timer_settime", {kEINVAL, kEPERM}, {}},
      {Phase::kTimer, "clone3", {kEAGAIN, kENOMEM, kENOSYS}, {}},
      {Phase::kTimer, "mmap", {kENOMEM, kEAGAIN}, {}},
      {Phase::kExpiry, "openat", {kEMFILE, kENFILE, kEACCES, kENOMEM}, {}},
      {Phase::kExpiry, "unlink", {kEACCES, kEIO, kEROFS, kENOENT}, {}},
      {Phase::kExpiry, "timer_settime", {kEINVAL, kEPERM}, {}},
      {Phase::kEnd, "clone3", {kEAGAIN, kENOMEM, kENOSYS}, {}},
      {Phase::kEnd, "mmap", {kENOMEM, kEAGAIN}, {}},
  };
}

std::vector<Row> MakeRows() {
  std::vector<Row> rows = StartRows();
  const auto append = [&rows](const std::vector<Row>& more) {
    rows.insert(rows.end(), more.begin(), more.end());
  };
  append(ConnectionRows(Phase::kText));
  for (const Phase phase : {Phase::kData, Phase::kCommand}) {
    append(ConnectionRows(phase));
    append(FileRows(phase));
  }
  append(TimerRows());
  return rows;
}

}  // namespace

const char* NameOf(Phase phase) {
  constexpr std::array names{"start",   "listeners", "text",   "data",
                             "command", "timer",     "expiry", "end"};
  return names.at(static_cast<std::size_t>(phase));
}

const std::vector<Row>& AllRows() {
  static const std::vector<Row> rows = MakeRows();
  return rows;
}

const Row& RowOf(Phase phase, const std::string& call) {
  const auto& rows = AllRows();
  const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& candidate) {
    return candidate.Phase == phase && candidate.Call == call;
  });
  if (row == rows.end()) throw std::out_of_range(call);
  return *row;
}

}  // namespace faults
