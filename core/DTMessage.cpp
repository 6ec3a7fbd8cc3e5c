#include "core/DTMessage.h"

#include <array>
#include <utility>

#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

namespace {

platform::Object objectOf(const std::optional<std::string>& text) {
  return text ? platform::Object(*text) : platform::Object();
}

std::optional<std::string> textOf(const platform::Object& object) {
  const auto* text = object.get<std::string>();
  return text ? std::optional(*text) : std::nullopt;
}

}  // namespace

DTMessage::DTMessage(std::string selector, platform::Object argument)
    : selector_(std::move(selector)), argument_(std::move(argument)) {}

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
  auto message = std::make_shared<DTMessage>();
  message->selector_ = textOf(coder.decodeObjectForKey("selector"));
  message->argument_ = coder.decodeObjectForKey("argument");
  message->portName_ = textOf(coder.decodeObjectForKey("portName"));
  return message;
}
