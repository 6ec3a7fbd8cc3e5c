// How a function tells that it failed. There are two ways, and the compiler refuses a caller that looks away:
//   std::optional or a pointer   there is none, and nobody needs to know why ([[nodiscard]] at the function)
//   Result                       the value, or the reason why there is none
// Where the platform's own interface has another shape it stays: the status of a send, the error slots of FileManager.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace platform {

/// What a failing function returns. `Failure{errno}`, `Failure{"the words"}`.
template <typename Reason>
struct Failure {
  Reason reason;
};
template <typename Reason>
Failure(Reason) -> Failure<Reason>;

/// The value of a function that has something to do and nothing to give.
struct Done {};

template <typename Value, typename Reason = std::string>
class [[nodiscard]] Result {
 public:
  Result(Value value) : content_(std::in_place_index<0>, std::move(value)) {}
  template <typename Given>
  Result(Failure<Given> failure) : content_(std::in_place_index<1>, std::move(failure.reason)) {}

  explicit operator bool() const { return content_.index() == 0; }
  /// Only where there is a value.
  const Value& operator*() const& { return *std::get_if<0>(&content_); }
  Value&& operator*() && { return std::move(*std::get_if<0>(&content_)); }
  const Value* operator->() const { return std::get_if<0>(&content_); }
  /// Only where there is none.
  const Reason& reason() const { return *std::get_if<1>(&content_); }

 private:
  std::variant<Value, Reason> content_;
};

}  // namespace platform
