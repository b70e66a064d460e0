#ifndef KA_TOOLS_SENT_MESSAGES_H
#define KA_TOOLS_SENT_MESSAGES_H

#include <cstdint>
#include <string_view>

#include "ka-tts-server.h"

namespace tools {

/// A message that the server takes from its catalogues.
struct SentMessage {
  std::string_view Catalogue;  ///< what its files begin with: "err" or "std"
  std::uint32_t Class = 0;
  std::uint32_t Number = 0;
};

inline constexpr SentMessage kSentMessages[] = {
    {"err", kEntryMsgClass, 0},               // the start failed
    {"std", kEntryMsgClass, _MMInitServer},   // the server runs
    {"std", kEntryMsgClass, _MMCloseServer},  // the server ends
    {"std", 7000, 0},                         // the catalogues are loaded
};

}  // namespace tools

#endif
