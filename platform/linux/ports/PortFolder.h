// The folder in which ports of this user stand as socket files, and the names of the files in it.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <utility>

#include "platform/Result.h"
#include "platform/linux/Descriptor.h"

namespace platform::native {

class PortFolder {
 public:
  enum class Missing { isMade, isRefused };

  /// Holds the folder itself, so that nobody can put another one in its place. Fails when it is missing
  /// (unless it is to be made), no folder, a symbolic link, another user's than `user`, or open to anybody
  /// else; the reason is empty for a missing one.
  static Result<PortFolder> open(const std::string& path, uid_t user, Missing missing);
  /// `$XDG_RUNTIME_DIR/dovetail`.
  static std::string usualPath();

  int descriptor() const { return folder_.get(); }
  /// The file that stands for a port: the port's name itself when it is made of 1 to 64 ASCII letters, digits
  /// and "-_.", the first of them no dot; else the SHA-256 of the name, in small hexadecimal digits. So the
  /// file is the same for each program whatever way it spells the folder, and the path fits a socket address
  /// (107 bytes) wherever the folder's has 42 or less.
  static std::string fileForPort(std::string_view name);
  /// An address of the file for bind(2) and connect(2) that fits whatever the folder's path is.
  std::string address(std::string_view file) const;

 private:
  explicit PortFolder(Descriptor folder) : folder_(std::move(folder)) {}

  Descriptor folder_;
};

}  // namespace platform::native
