#include "platform/linux/programs/JSONWriter.h"

#include <charconv>
#include <cmath>

#include "platform/JSONText.h"

namespace platform {

// No value ends in what opens a list or follows a key.
void JSONWriter::separate() {
  const bool isFirst = text_.size() == start_ || text_.back() == '[' || text_.back() == '{' || text_.back() == ':';
  if (!isFirst) text_ += ',';
}

void JSONWriter::number(double value) {
  if (!std::isfinite(value)) return null();
  char buffer[32];
  const std::string_view digits(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
  put(digits);
  if (digits.find_first_of(".e") == std::string_view::npos) text_ += ".0";
}

void JSONWriter::string(std::string_view value) {
  separate();
  appendJSONString(text_, value);
}

void JSONWriter::key(std::string_view name) {
  string(name);
  text_ += ':';
}

}  // namespace platform
