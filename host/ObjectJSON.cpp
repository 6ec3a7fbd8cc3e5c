// Values to text; ObjectOfText.cpp has the other direction.
#include "host/ObjectJSON.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <variant>
#include <vector>

#include "archive/DTArchiveEntry.h"
#include "archive/DTTreeNode.h"
#include "core/DTMessage.h"
#include "host/RawRecords.h"

namespace {

using platform::Object;

constexpr char upperDigits[] = "0123456789ABCDEF";
constexpr char lowerDigits[] = "0123456789abcdef";

// Writes each kind's members in the order of their keys. Recursion is bounded: objects and archives inside one another are,
// when they are read.
class Writer {
 public:
  explicit Writer(std::string& text) : text_(text) {}

  void put(const Object& object) {
    std::visit([this](const auto& value) { put(value); }, object.value());
  }

 private:
  void put(std::monostate) { text_ += "null"; }
  void put(platform::Null) { text_ += R"({"t":"null"})"; }
  void put(bool value) { text_ += value ? R"({"t":"bool","v":true})" : R"({"t":"bool","v":false})"; }
  void put(platform::Integer value) { member("int", decimal(value)); }
  void put(double value) { bits("real", value); }
  void put(const std::string& value) { member("str", value); }
  void put(platform::Date value) { bits("date", value.secondsSinceReferenceDate); }

  void put(const platform::Data& data) {
    text_ += R"({"t":"data","v":")";
    for (const std::uint8_t byte : data) hex(byte, lowerDigits);
    text_ += R"("})";
  }

  void put(const platform::UUID& uuid) {
    text_ += R"({"t":"uuid","v":")";
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i) {
      if (i == 4 || i == 6 || i == 8 || i == 10) text_ += '-';
      hex(uuid.bytes[i], upperDigits);
    }
    text_ += R"("})";
  }

  void put(const platform::Array& array) {
    text_ += R"({"t":"array","v":[)";
    list(array, [this](const Object& element) { put(element); });
    text_ += "]}";
  }

  void put(const platform::Set& set) {
    std::vector<std::string> texts;
    for (const Object& member : set.members) texts.push_back(textOfObject(member));
    sorted("set", std::move(texts));
  }

  void put(const platform::Dictionary& dictionary) {
    std::vector<std::string> texts;
    for (const auto& [key, value] : dictionary.entries) {
      texts.push_back('[' + textOfObject(key) + ',' + textOfObject(value) + ']');
    }
    sorted("dict", std::move(texts));
  }

  void put(const platform::URL& url) {
    text_ += R"({"base":)";
    const auto base = url.baseURL();
    put(base ? Object(*base) : Object());
    text_ += R"(,"rel":)";
    string(url.relativeString());
    text_ += R"(,"t":"url"})";
  }

  void put(const platform::Error& error) {
    text_ += R"({"code":")" + std::to_string(error.code) + R"(","domain":)";
    string(error.domain);
    text_ += R"(,"info":)";
    if (error.userInfo.entries.empty())
      put(std::monostate());
    else
      put(error.userInfo);
    text_ += R"(,"t":"error"})";
  }

  void put(const platform::IndexPath& path) {
    text_ += R"({"t":"ipath","v":[)";
    list(path.indexes, [this](std::uint64_t index) { text_ += '"' + std::to_string(index) + '"'; });
    text_ += "]}";
  }

  void put(const std::shared_ptr<const platform::Coding>& instance) {
    const platform::Coding* coded = instance.get();
    if (const auto* raw = dynamic_cast<const RawMessage*>(coded)) message(raw->selector, raw->argument, raw->portName);
    if (const auto* record = dynamic_cast<const DTMessage*>(coded)) {
      message(textOf(record->selector()), record->argument(), textOf(record->portName()));
    }
    if (const auto* raw = dynamic_cast<const RawEntry*>(coded)) put(*raw);
    if (const auto* entry = dynamic_cast<const DTArchiveEntry*>(coded)) put(*entry);
    if (const auto* raw = dynamic_cast<const RawNode*>(coded)) put(*raw);
    if (const auto* node = dynamic_cast<const DTTreeNode*>(coded)) put(*node);
  }

  void message(const Object& selector, const Object& argument, const Object& portName) {
    text_ += R"({"argument":)";
    put(argument);
    text_ += R"(,"portName":)";
    put(portName);
    text_ += R"(,"selector":)";
    put(selector);
    text_ += R"(,"t":"msg"})";
  }

  void put(const RawEntry& entry) {
    text_ += entry.isFolder ? R"({"folder":true,"index":)" : R"({"folder":false,"index":)";
    put(entry.index);
    text_ += R"(,"name":)";
    put(entry.name);
    text_ += R"(,"rsrcIndex":)";
    put(entry.rsrcIndex);
    text_ += R"(,"size":)";
    put(entry.size);
    text_ += R"(,"t":"entry"})";
  }

  void put(const DTArchiveEntry& entry) {
    RawEntry raw;
    raw.name = textOf(entry.name());
    raw.isFolder = entry.isFolder();
    raw.index = platform::Integer::ofUnsigned(entry.index());
    raw.rsrcIndex = platform::Integer::ofUnsigned(entry.rsrcIndex());
    raw.size = platform::Integer::ofUnsigned(entry.size());
    put(raw);
  }

  void put(const RawNode& node) {
    text_ += R"({"children":)";
    if (node.children) {
      text_ += '[';
      list(*node.children, [this](const RawNode& child) { put(child); });
      text_ += ']';
    } else {
      text_ += "null";
    }
    text_ += R"(,"object":)";
    put(node.object);
    text_ += R"(,"t":"node"})";
  }

  void put(const DTTreeNode& node) {
    text_ += R"({"children":[)";
    list(node.childNodes(), [this](const DTTreeNode& child) { put(child); });
    text_ += R"(],"object":)";
    if (node.representedObject())
      put(*node.representedObject());
    else
      put(std::monostate());
    text_ += R"(,"t":"node"})";
  }

  static Object textOf(const std::optional<std::string>& text) { return text ? Object(*text) : Object(); }

  static std::string decimal(platform::Integer value) {
    return value.isNegative ? std::to_string(value.signedValue()) : std::to_string(value.unsignedValue());
  }

  void string(std::string_view value) { text_ += platform::JSON(value).text(); }

  void member(std::string_view kind, std::string_view value) {
    text_ += R"({"t":")";
    text_ += kind;
    text_ += R"(","v":)";
    string(value);
    text_ += '}';
  }

  void bits(std::string_view kind, double value) {
    text_ += R"({"bits":")";
    const auto bits = std::bit_cast<std::uint64_t>(value);
    for (int shift = 56; shift >= 0; shift -= 8) hex(static_cast<std::uint8_t>(bits >> shift), lowerDigits);
    text_ += R"(","t":")";
    text_ += kind;
    text_ += R"("})";
  }

  void hex(std::uint8_t byte, const char* digits) { text_ += {digits[byte >> 4], digits[byte & 15]}; }

  template <typename Elements, typename Put>
  void list(const Elements& elements, Put put) {
    bool isFirst = true;
    for (const auto& element : elements) {
      if (!std::exchange(isFirst, false)) text_ += ',';
      put(element);
    }
  }

  void sorted(std::string_view kind, std::vector<std::string> texts) {
    std::sort(texts.begin(), texts.end());
    text_ += R"({"t":")";
    text_ += kind;
    text_ += R"(","v":[)";
    list(texts, [this](const std::string& text) { text_ += text; });
    text_ += "]}";
  }

  std::string& text_;
};

}  // namespace

std::string textOfObject(const Object& object) {
  std::string text;
  Writer(text).put(object);
  return text;
}
