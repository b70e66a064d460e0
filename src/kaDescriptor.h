#ifndef KA_DESCRIPTOR_H
#define KA_DESCRIPTOR_H

#include <cstddef>
#include <string>

/// Owns one file descriptor and closes it. -1 means "none".
class kaDescriptor {
 public:
  explicit kaDescriptor(int descriptor = -1);
  ~kaDescriptor();
  kaDescriptor(kaDescriptor&& other) noexcept;
  kaDescriptor& operator=(kaDescriptor&& other) noexcept;
  kaDescriptor(const kaDescriptor&) = delete;
  kaDescriptor& operator=(const kaDescriptor&) = delete;

  /// The descriptor, still owned; -1 if there is none.
  int Get() const { return nDescriptor; }
  bool IsValid() const { return nDescriptor >= 0; }

  /// Closes the descriptor now.
  void Close();

 private:
  int nDescriptor;
};

/// Opens a file for this process alone (children do not inherit it). Result may be invalid.
kaDescriptor OpenFile(const char* path, int flags);

/// Reads up to the end of the file, over interruptions; what came before an error on one.
std::string ReadAll(int descriptor);

/// Writes all `size` bytes, over partial writes and interruptions. False on an error.
bool WriteAll(int descriptor, const char* data, std::size_t size);

#endif
