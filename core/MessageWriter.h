// Archives the messages to the host. A folder's questions differ in the file alone, so of a run of them only the first is archived
// from its parts.
#pragma once

#include <optional>
#include <string>

#include "core/DTMessage.h"
#include "platform/Bytes.h"
#include "platform/codec/ArchiveForm.h"

class MessageWriter {
 public:
  /// The message's archive, the same bytes for the same message whatever was archived before. Valid until the next call. Nothing
  /// when the message cannot be archived.
  [[nodiscard]] std::optional<platform::ByteView> archive(const DTMessage& message);

 private:
  [[nodiscard]] std::optional<platform::ByteView> archiveFromParts(const DTMessage& message);
  [[nodiscard]] std::optional<platform::ByteView> archiveAboutFile(const DTMessage& message, const std::string& text);

  platform::Data bytes_;
  std::optional<platform::ArchiveForm> form_;
  std::optional<std::string> selector_, portName_;  // of the messages of that form
};
