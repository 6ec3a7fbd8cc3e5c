// Values to text; ObjectOfText.cpp has the other direction.
#include "host/ObjectJSON.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <variant>
#include <vector>

#include "archive/DTArchiveEntry.h"
#include "archive/DTTreeNode.h"
#include "core/DTMessage.h"
#include "host/RawRecords.h"
#include "platform/linux/programs/JSONWriter.h"

namespace {

using platform::Object;

constexpr char upperDigits[] = "0123456789ABCDEF";
constexpr char lowerDigits[] = "0123456789abcdef";

void appendHex(std::string& text, std::uint8_t byte, const char* digits) { text += {digits[byte >> 4], digits[byte & 15]}; }

// Writes each kind's members in the order of their keys. Recursion is bounded: objects and archives inside one another are,
// when they are read.
class Writer {
 public:
  explicit Writer(std::string& text) : json_(text) {}

  void put(const Object& object) {
    std::visit([this](const auto& value) { put(value); }, object.value());
  }

 private:
  void put(std::monostate) { json_.null(); }
  void put(platform::Null) {
    json_.beginObject();
    end("null");
  }
  void put(bool value) {
    begin("bool");
    json_.flag(value);
    json_.endObject();
  }
  void put(platform::Integer value) { text("int", decimal(value)); }
  void put(double value) { bits("real", value); }
  void put(const std::string& value) { text("str", value); }
  void put(platform::Date value) { bits("date", value.secondsSinceReferenceDate); }

  void put(const platform::Data& data) {
    std::string hex;
    for (const std::uint8_t byte : data) appendHex(hex, byte, lowerDigits);
    text("data", hex);
  }

  void put(const platform::UUID& uuid) {
    std::string digits;
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i) {
      if (i == 4 || i == 6 || i == 8 || i == 10) digits += '-';
      appendHex(digits, uuid.bytes[i], upperDigits);
    }
    text("uuid", digits);
  }

  void put(const platform::Array& array) {
    begin("array");
    list(array, [this](const Object& element) { put(element); });
    json_.endObject();
  }

  void put(const platform::Set& set) {
    std::vector<std::string> texts;
    for (const Object& member : set.members) texts.push_back(textOfObject(member));
    sorted("set", std::move(texts));
  }

  void put(const platform::Dictionary& dictionary) {
    std::vector<std::string> texts;
    for (const auto& [key, value] : dictionary.entries) {
      Writer pair(texts.emplace_back());
      pair.list(std::array{&key, &value}, [&pair](const Object* object) { pair.put(*object); });
    }
    sorted("dict", std::move(texts));
  }

  void put(const platform::URL& url) {
    const auto base = url.baseURL();
    json_.beginObject();
    member("base", base ? Object(*base) : Object());
    textMember("rel", url.relativeString());
    end("url");
  }

  void put(const platform::Error& error) {
    json_.beginObject();
    textMember("code", std::to_string(error.code));
    textMember("domain", error.domain);
    member("info", error.userInfo.entries.empty() ? Object() : Object(error.userInfo));
    end("error");
  }

  void put(const platform::IndexPath& path) {
    begin("ipath");
    list(path.indexes, [this](std::uint64_t index) { json_.string(std::to_string(index)); });
    json_.endObject();
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
    json_.beginObject();
    member("argument", argument);
    member("portName", portName);
    member("selector", selector);
    end("msg");
  }

  void put(const RawEntry& entry) {
    json_.beginObject();
    json_.key("folder");
    json_.flag(entry.isFolder);
    member("index", entry.index);
    member("name", entry.name);
    member("rsrcIndex", entry.rsrcIndex);
    member("size", entry.size);
    end("entry");
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
    json_.beginObject();
    json_.key("children");
    if (node.children)
      list(*node.children, [this](const RawNode& child) { put(child); });
    else
      json_.null();
    member("object", node.object);
    end("node");
  }

  void put(const DTTreeNode& node) {
    json_.beginObject();
    json_.key("children");
    list(node.childNodes(), [this](const DTTreeNode& child) { put(child); });
    json_.key("object");
    if (node.representedObject())
      put(*node.representedObject());
    else
      json_.null();
    end("node");
  }

  static Object textOf(const std::optional<std::string>& text) { return text ? Object(*text) : Object(); }

  static std::string decimal(platform::Integer value) {
    return value.isNegative ? std::to_string(value.signedValue()) : std::to_string(value.unsignedValue());
  }

  // ---- Members. The kind stands under "t", behind all keys but "v".

  void begin(std::string_view kind) {
    json_.beginObject();
    textMember("t", kind);
    json_.key("v");
  }
  void end(std::string_view kind) {
    textMember("t", kind);
    json_.endObject();
  }
  void member(std::string_view key, const Object& value) {
    json_.key(key);
    put(value);
  }
  void textMember(std::string_view key, std::string_view value) {
    json_.key(key);
    json_.string(value);
  }
  void text(std::string_view kind, std::string_view value) {
    begin(kind);
    json_.string(value);
    json_.endObject();
  }

  void bits(std::string_view kind, double value) {
    std::string hex;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    for (int shift = 56; shift >= 0; shift -= 8) appendHex(hex, static_cast<std::uint8_t>(bits >> shift), lowerDigits);
    json_.beginObject();
    textMember("bits", hex);
    end(kind);
  }

  template <typename Elements, typename Put>
  void list(const Elements& elements, Put put) {
    json_.beginArray();
    for (const auto& element : elements) put(element);
    json_.endArray();
  }

  void sorted(std::string_view kind, std::vector<std::string> texts) {
    std::sort(texts.begin(), texts.end());
    begin(kind);
    list(texts, [this](const std::string& text) { json_.json(text); });
    json_.endObject();
  }

  platform::JSONWriter json_;
};

}  // namespace

std::string textOfObject(const Object& object) {
  std::string text;
  Writer(text).put(object);
  return text;
}
