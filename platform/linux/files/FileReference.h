// A file held by an O_PATH descriptor (open(2)), which stays with the file however it is renamed or moved on
// its volume. The volume cannot be unmounted meanwhile.
#pragma once

#include <memory>
#include <string>

#include "platform/FileIdentity.h"
#include "platform/URL.h"
#include "platform/linux/Descriptor.h"

namespace platform::native {

class LinuxFileReference : public FileReference {
 public:
  /// Null with `errno` set when there is no such file or the process has no descriptor left. A symbolic link
  /// is held itself.
  static std::shared_ptr<const LinuxFileReference> ofPath(const std::string& path);

  std::string path() const override;

 private:
  LinuxFileReference(Descriptor file, const FileIdentity& identity);

  Descriptor file_;
  FileIdentity identity_;
};

}  // namespace platform::native
