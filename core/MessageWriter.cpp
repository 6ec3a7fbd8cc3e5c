#include "core/MessageWriter.h"

#include <new>

#include "platform/codec/KeyedArchiver.h"

using platform::ByteView;

std::optional<ByteView> MessageWriter::archive(const DTMessage& message) try {
  const auto* url = message.argument().get<platform::URL>();
  // The text of any other URL might stand in the archive a second time, as another part of it.
  const bool isAboutFile = url && url->isFileURL() && !url->baseURL();
  return isAboutFile ? archiveAboutFile(message, url->relativeString()) : archiveFromParts(message);
} catch (const std::bad_alloc&) {
  return std::nullopt;
}

std::optional<ByteView> MessageWriter::archiveFromParts(const DTMessage& message) {
  auto archive = platform::KeyedArchiver::archivedDataWithRootObject(
      std::shared_ptr<const platform::Coding>(std::shared_ptr<void>(), &message));
  if (!archive) return std::nullopt;
  bytes_ = *std::move(archive);
  return bytes_;
}

std::optional<ByteView> MessageWriter::archiveAboutFile(const DTMessage& message, const std::string& text) {
  if (form_ && message.selector() == selector_ && message.portName() == portName_) {
    if (const auto archive = form_->with(text)) return archive;
  }
  form_.reset();
  const auto archive = archiveFromParts(message);
  if (!archive) return std::nullopt;
  selector_ = message.selector();
  portName_ = message.portName();
  form_ = platform::ArchiveForm::of(*archive, text);
  return archive;
}
