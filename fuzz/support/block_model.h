#ifndef KA_FUZZ_BLOCK_MODEL_H
#define KA_FUZZ_BLOCK_MODEL_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/announcement_model.h"

namespace model {

/// What is kept of a received text: up to the end of its last tag, and up to "///".
std::string UsedPart(const std::string& text);

/// A station that receives data blocks: what it runs, prints and stores.
class BlockReceiver {
 public:
  /// \param speechFiles the .wav files of the store, which nothing changes
  BlockReceiver(const CkaSpeechbuilder& builder, LexiconFiles& files,
                std::set<std::string> speechFiles);

  /// Receives block number `number`, of which `rows` were read; `isXml` is false if none could be.
  void Receive(int number, bool isXml, const std::vector<CkaRBLDataContent::kaRBLRow>& rows);

  std::vector<std::string> Commands;
  Printed Output;
  bool IsGivenUp = false;                    ///< an exception left the callback
  std::map<std::string, std::string> Store;  ///< remembered texts by path

 private:
  bool Generate(bool isXml, const std::vector<CkaRBLDataContent::kaRBLRow>& rows);
  bool LacksValue(const CkaRBLDataContent::kaRBLRow& row) const;
  void Announce(const CkaRBLDataContent::kaRBLRow& row, int number);
  void Save(const Announcement& announcement, int number);
  void Move(std::size_t rows);

  const CkaSpeechbuilder& builder_;
  LexiconFiles& files_;
  std::set<std::string> speechFiles_;
};

}  // namespace model

#endif
