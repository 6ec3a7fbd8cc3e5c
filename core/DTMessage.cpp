#include "core/DTMessage.h"

#include <array>
#include <utility>

#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"

namespace {

platform::Object objectOf(const std::optional<std::string>& text) { return text ? platform::Object(*text) : platform::Object(); }

}  // namespace

DTMessage::DTMessage(std::string_view selector, platform::Object argument) : selector_(selector), argument_(std::move(argument)) {}

std::span<const std::string_view> DTMessage::classNames() const {
  static constexpr std::array<std::string_view, 2> names{className, "NSObject"};
  return names;
}

void DTMessage::encodeWithCoder(platform::KeyedArchiver& coder) const {
  coder.encodeObject(objectOf(selector_), "selector");
  coder.encodeObject(argument_, "argument");
  coder.encodeObject(objectOf(portName_), "portName");
}

std::shared_ptr<const platform::Coding> DTMessage::initWithCoder(platform::KeyedUnarchiver& coder) {
  static constexpr std::array<platform::PropertyListKey, 3> keys{"selector", "argument", "portName"};
  std::array<std::uint64_t, keys.size()> values;
  platform::KeyedArchiveReader& reader = coder.reader();
  auto message = std::make_shared<DTMessage>();
  if (!reader.lookUp(coder.dictionary(), keys, values)) return nullptr;
  const bool isRead = reader.textAt(values[0], message->selector_) && reader.objectAt(values[1], message->argument_) &&
                      reader.textAt(values[2], message->portName_);
  return isRead ? message : nullptr;
}
