// Text to values; ObjectJSON.cpp has the other direction.
#include <bit>
#include <charconv>
#include <cstdint>
#include <memory>
#include <utility>

#include "host/ObjectJSON.h"
#include "host/RawRecords.h"
#include "platform/UnicodeText.h"
#include "platform/codec/DecodeBudget.h"
#include "platform/linux/programs/JSON.h"

namespace {

using platform::JSON;
using platform::Object;

// A level of objects, or of nodes, is two levels of JSON: the value and its list.
constexpr std::size_t maximumJSONDepth = 2 * (platform::maximumArchiveDepth + platform::maximumObjectDepth) + 8;

// Every reader answers nothing for JSON that is not of its form; then the whole text is refused.
class Reader {
 public:
  static std::optional<Object> read(const JSON& json);

 private:
  using Kind = std::optional<Object> (*)(const JSON& json);
  static const std::pair<std::string_view, Kind> kinds[];

  template <typename Number>
  static std::optional<Number> number(const JSON* json, int radix = 10) {
    const auto* text = json ? json->get<std::string>() : nullptr;
    Number value = 0;
    if (!text || text->empty()) return std::nullopt;
    const char* const end = text->data() + text->size();
    const auto result = std::from_chars(text->data(), end, value, radix);
    return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
  }

  static std::optional<std::string> string(const JSON* json) {
    const auto* text = json ? json->get<std::string>() : nullptr;
    return text && platform::isGeneralisedUTF8(*text) ? std::optional(*text) : std::nullopt;
  }

  static std::optional<platform::Data> bytes(std::string_view hex) {
    platform::Data data;
    if (hex.size() % 2 != 0) return std::nullopt;
    for (; !hex.empty(); hex.remove_prefix(2)) {
      std::uint8_t byte = 0;
      if (std::from_chars(hex.data(), hex.data() + 2, byte, 16).ptr != hex.data() + 2) return std::nullopt;
      data.push_back(byte);
    }
    return data;
  }

  // A member that must be there, though it may be null.
  static bool member(const JSON& json, std::string_view key, Object& object) {
    const JSON* value = json.member(key);
    auto read = value ? Reader::read(*value) : std::nullopt;
    if (!read) return false;
    object = *std::move(read);
    return true;
  }

  static std::optional<std::vector<Object>> list(const JSON* json) {
    const auto* elements = json ? json->get<JSON::ArrayValue>() : nullptr;
    if (!elements) return std::nullopt;
    std::vector<Object> objects;
    for (const JSON& element : *elements) {
      auto object = read(element);
      if (!object || object->isNil()) return std::nullopt;
      objects.push_back(*std::move(object));
    }
    return objects;
  }

  static std::optional<Object> readText(const JSON& json) {
    auto text = string(json.member("v"));
    return text ? std::optional<Object>(*std::move(text)) : std::nullopt;
  }

  static std::optional<Object> readInteger(const JSON& json) {
    if (const auto value = number<std::uint64_t>(json.member("v"))) return platform::Integer::ofUnsigned(*value);
    if (const auto value = number<std::int64_t>(json.member("v"))) return platform::Integer::ofSigned(*value);
    return std::nullopt;
  }

  static std::optional<double> bits(const JSON& json) {
    const auto* text = json.stringMember("bits");
    const auto value = number<std::uint64_t>(json.member("bits"), 16);
    return value && text->size() == 16 ? std::optional(std::bit_cast<double>(*value)) : std::nullopt;
  }

  static std::optional<Object> readReal(const JSON& json) {
    const auto value = bits(json);
    return value ? std::optional<Object>(*value) : std::nullopt;
  }

  static std::optional<Object> readDate(const JSON& json) {
    const auto value = bits(json);
    return value ? std::optional<Object>(platform::Date{*value}) : std::nullopt;
  }

  static std::optional<Object> readBoolean(const JSON& json) {
    const JSON* value = json.member("v");
    const bool* boolean = value ? value->get<bool>() : nullptr;
    return boolean ? std::optional<Object>(*boolean) : std::nullopt;
  }

  static std::optional<Object> readData(const JSON& json) {
    const auto* hex = json.stringMember("v");
    auto data = hex ? bytes(*hex) : std::nullopt;
    return data ? std::optional<Object>(*std::move(data)) : std::nullopt;
  }

  static std::optional<Object> readUUID(const JSON& json) {
    const auto* text = json.stringMember("v");
    if (!text || text->size() != 36) return std::nullopt;
    std::string hex = *text;
    for (const std::size_t dash : {23, 18, 13, 8}) {
      if (hex[dash] != '-') return std::nullopt;
      hex.erase(dash, 1);
    }
    const auto data = bytes(hex);
    platform::UUID uuid;
    if (!data) return std::nullopt;
    std::copy(data->begin(), data->end(), uuid.bytes.begin());
    return uuid;
  }

  static std::optional<Object> readNull(const JSON&) { return platform::Null(); }

  static std::optional<Object> readArray(const JSON& json) {
    auto elements = list(json.member("v"));
    return elements ? std::optional<Object>(*std::move(elements)) : std::nullopt;
  }

  static std::optional<Object> readSet(const JSON& json) {
    auto elements = list(json.member("v"));
    return elements ? std::optional<Object>(platform::Set{*std::move(elements)}) : std::nullopt;
  }

  static std::optional<Object> readDictionary(const JSON& json) {
    const JSON* value = json.member("v");
    const auto* pairs = value ? value->get<JSON::ArrayValue>() : nullptr;
    if (!pairs) return std::nullopt;
    platform::Dictionary dictionary;
    for (const JSON& pair : *pairs) {
      auto entry = list(&pair);
      if (!entry || entry->size() != 2) return std::nullopt;
      dictionary.entries.emplace_back(std::move((*entry)[0]), std::move((*entry)[1]));
    }
    return dictionary;
  }

  static std::optional<Object> readURL(const JSON& json) {
    Object base;
    const auto relative = string(json.member("rel"));
    if (!relative || !member(json, "base", base)) return std::nullopt;
    const auto* url = base.get<platform::URL>();
    if (!url && !base.isNil()) return std::nullopt;
    return platform::URL::URLWithString(*relative, url ? std::optional(*url) : std::nullopt);
  }

  static std::optional<Object> readError(const JSON& json) {
    Object info;
    auto domain = string(json.member("domain"));
    const auto code = number<std::int64_t>(json.member("code"));
    if (!domain || !code || !member(json, "info", info)) return std::nullopt;
    const auto* dictionary = info.get<platform::Dictionary>();
    if (!dictionary && !info.isNil()) return std::nullopt;
    return platform::Error{*std::move(domain), *code, dictionary ? *dictionary : platform::Dictionary()};
  }

  static std::optional<Object> readIndexPath(const JSON& json) {
    const JSON* value = json.member("v");
    const auto* indexes = value ? value->get<JSON::ArrayValue>() : nullptr;
    if (!indexes) return std::nullopt;
    platform::IndexPath path;
    for (const JSON& element : *indexes) {
      const auto index = number<std::uint64_t>(&element);
      if (!index) return std::nullopt;
      path.indexes.push_back(*index);
    }
    return path;
  }

  static std::optional<Object> readMessage(const JSON& json) {
    auto message = std::make_shared<RawMessage>();
    if (!member(json, "selector", message->selector) || !member(json, "argument", message->argument) ||
        !member(json, "portName", message->portName)) {
      return std::nullopt;
    }
    return Object(std::shared_ptr<const platform::Coding>(std::move(message)));
  }

  static std::optional<Object> readEntry(const JSON& json) {
    auto entry = std::make_shared<RawEntry>();
    const JSON* folder = json.member("folder");
    const bool* isFolder = folder ? folder->get<bool>() : nullptr;
    if (!isFolder || !member(json, "name", entry->name) || !member(json, "index", entry->index) ||
        !member(json, "rsrcIndex", entry->rsrcIndex) || !member(json, "size", entry->size)) {
      return std::nullopt;
    }
    entry->isFolder = *isFolder;
    return Object(std::shared_ptr<const platform::Coding>(std::move(entry)));
  }

  static std::optional<Object> readNode(const JSON& json) {
    auto node = std::make_shared<RawNode>();
    if (!fill(*node, json)) return std::nullopt;
    return Object(std::shared_ptr<const platform::Coding>(std::move(node)));
  }

  static bool fill(RawNode& node, const JSON& json) {
    const auto* kind = json.stringMember("t");
    const JSON* children = json.member("children");
    if (!kind || *kind != "node" || !children || !member(json, "object", node.object)) return false;
    if (children->isNull()) return true;
    const auto* list = children->get<JSON::ArrayValue>();
    if (!list) return false;
    node.children.emplace(list->size());
    for (std::size_t i = 0; i < list->size(); ++i) {
      if (!fill((*node.children)[i], (*list)[i])) return false;
    }
    return true;
  }
};

const std::pair<std::string_view, Reader::Kind> Reader::kinds[] = {
    {"array", &readArray}, {"bool", &readBoolean}, {"data", &readData},   {"date", &readDate},       {"dict", &readDictionary},
    {"entry", &readEntry}, {"error", &readError},  {"int", &readInteger}, {"ipath", &readIndexPath}, {"msg", &readMessage},
    {"node", &readNode},   {"null", &readNull},    {"real", &readReal},   {"set", &readSet},         {"str", &readText},
    {"url", &readURL},     {"uuid", &readUUID},
};

std::optional<Object> Reader::read(const JSON& json) {
  if (json.isNull()) return Object();
  const auto* kind = json.stringMember("t");
  if (!kind) return std::nullopt;
  for (const auto& [name, read] : kinds) {
    if (*kind == name) return read(json);
  }
  return std::nullopt;
}

}  // namespace

std::optional<Object> objectOfText(std::string_view text) {
  const auto json = JSON::parse(text, maximumJSONDepth, true);
  return json ? Reader::read(*json) : std::nullopt;
}
