// The one record that the two programs exchange: call the method of this name on the receiver, with this one argument,
// and answer, if at all, on this port. The class name and the keys "selector", "argument", "portName" are a contract with
// every host.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Object.h"
#include "platform/codec/Coding.h"

class DTMessage final : public platform::Coding {
 public:
  static constexpr std::string_view className = "DTMessage";

  DTMessage() = default;  ///< A null selector and a nil argument.
  DTMessage(std::string_view selector, platform::Object argument);

  /// The name of the method to run on the receiving side; nothing for the null selector.
  const std::optional<std::string>& selector() const { return selector_; }
  const platform::Object& argument() const { return argument_; }
  /// The sender's own port, stamped by `sendMessage:`.
  const std::optional<std::string>& portName() const { return portName_; }
  void setSelector(std::optional<std::string> selector) { selector_ = std::move(selector); }
  void setArgument(platform::Object argument) { argument_ = std::move(argument); }
  void setPortName(std::optional<std::string> portName) { portName_ = std::move(portName); }

  std::span<const std::string_view> classNames() const override;
  void encodeWithCoder(platform::KeyedArchiver& coder) const override;
  /// Absent keys, and values of another kind, leave their field empty.
  static std::shared_ptr<const platform::Coding> initWithCoder(platform::KeyedUnarchiver& coder);

 private:
  std::optional<std::string> selector_;
  platform::Object argument_;
  std::optional<std::string> portName_;
};
