#include "platform/linux/processes/Security.h"

#include <glib.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

#include "platform/linux/OwnedGLib.h"

namespace platform::native {
namespace {

constexpr std::size_t maximumLength = 1024 * 1024;
constexpr std::size_t maximumDepth = 64;

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

template <typename Number>
std::optional<Number> numberOf(std::string_view text) {
  text = trimmed(text);
  Number number{};
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

Object integerObject(std::string_view text) {
  if (const auto number = numberOf<std::int64_t>(text)) return Integer::ofSigned(*number);
  if (const auto number = numberOf<std::uint64_t>(text)) return Integer::ofUnsigned(*number);
  return {};
}

Object dataObject(std::string text) {
  std::erase_if(text, isSpace);
  if (text.size() % 4 != 0) return {};
  gsize length = 0;
  const OwnedText bytes(reinterpret_cast<char*>(g_base64_decode(text.c_str(), &length)));
  return Data(bytes.get(), bytes.get() + length);
}

// The value of an element without elements inside; nil for a text that is none of its kind.
Object scalar(std::string_view element, const std::string& text) {
  if (element == "true") return true;
  if (element == "false") return false;
  if (element == "integer") return integerObject(text);
  if (element == "data") return dataObject(text);
  if (element == "real") {
    const auto number = numberOf<double>(text);
    return number ? Object(*number) : Object();
  }
  return text;
}

bool isScalar(std::string_view element) {
  constexpr std::string_view known[] = {"string", "integer", "real", "true", "false", "data", "key"};
  return std::ranges::find(known, element) != std::end(known);
}

// An element that is open, with what it holds so far.
struct Level {
  std::string element;
  std::string text;
  Array array;
  Dictionary dictionary;
  std::optional<std::string> key;

  bool holdsValues() const { return element == "array" || element == "dict" || element == "plist"; }
};

class Reader {
 public:
  std::optional<Object> read(std::string_view text) {
    constexpr GMarkupParser parser = {onStart, onEnd, onText, nullptr, nullptr};
    GMarkupParseContext* const context = g_markup_parse_context_new(&parser, G_MARKUP_TREAT_CDATA_AS_TEXT, this, nullptr);
    const bool isWhole = g_markup_parse_context_parse(context, text.data(), static_cast<gssize>(text.size()), nullptr) &&
                         g_markup_parse_context_end_parse(context, nullptr);
    g_markup_parse_context_free(context);
    return isWhole ? std::move(result_) : std::nullopt;
  }

 private:
  bool open(std::string_view element) {
    const bool isOutermost = levels_.empty();
    if (isOutermost != (element == "plist") || levels_.size() >= maximumDepth) return false;
    if (!isOutermost && !levels_.back().holdsValues()) return false;
    if (element != "array" && element != "dict" && !isOutermost && !isScalar(element)) return false;
    levels_.push_back({std::string(element), {}, {}, {}, {}});
    return true;
  }

  bool close() {
    Level level = std::move(levels_.back());
    levels_.pop_back();
    if (level.element == "plist") return !level.array.empty() && (result_ = std::move(level.array.front()), true);
    if (level.element == "key") return addKey(std::move(level.text));
    if (level.element == "array") return addValue(std::move(level.array));
    if (level.element == "dict") return !level.key && addValue(std::move(level.dictionary));
    Object value = scalar(level.element, level.text);
    return !value.isNil() && addValue(std::move(value));
  }

  bool addKey(std::string key) {
    Level& parent = levels_.back();
    if (parent.element != "dict" || parent.key) return false;
    parent.key = std::move(key);
    return true;
  }

  bool addValue(Object value) {
    Level& parent = levels_.back();
    if (parent.element == "dict") {
      if (!parent.key) return false;
      parent.dictionary.add(*std::exchange(parent.key, std::nullopt), std::move(value));
      return true;
    }
    if (parent.element == "plist" && !parent.array.empty()) return false;
    parent.array.push_back(std::move(value));
    return true;
  }

  bool addText(std::string_view text) {
    Level& level = levels_.back();
    if (level.holdsValues()) return trimmed(text).empty();
    level.text += text;
    return true;
  }

  static void failUnless(bool isFine, GError** error) {
    if (!isFine) g_set_error_literal(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "no property list");
  }
  static void onStart(GMarkupParseContext*, const char* element, const char**, const char**, gpointer self, GError** error) {
    failUnless(static_cast<Reader*>(self)->open(element), error);
  }
  static void onEnd(GMarkupParseContext*, const char*, gpointer self, GError** error) {
    failUnless(static_cast<Reader*>(self)->close(), error);
  }
  static void onText(GMarkupParseContext*, const char* text, gsize length, gpointer self, GError** error) {
    Reader& reader = *static_cast<Reader*>(self);
    if (!reader.levels_.empty()) failUnless(reader.addText({text, length}), error);
  }

  std::vector<Level> levels_;
  std::optional<Object> result_;
};

class Task final : public SecTask {
 public:
  explicit Task(Dictionary entitlements) : entitlements_(std::move(entitlements)) {}

  Object copyValueForEntitlement(std::string_view entitlement) override {
    const Object* value = entitlements_.objectForKey(entitlement);
    return value ? *value : Object();
  }

 private:
  Dictionary entitlements_;
};

}  // namespace

std::optional<Object> objectOfPropertyListText(std::string_view text) {
  if (text.empty() || text.size() > maximumLength) return std::nullopt;
  return Reader().read(text);
}

LinuxSecurity::LinuxSecurity(std::string_view entitlements) : entitlements_(entitlements) {}

std::unique_ptr<SecTask> LinuxSecurity::createFromSelf() {
  const auto list = objectOfPropertyListText(entitlements_);
  const auto* entitlements = list ? list->get<Dictionary>() : nullptr;
  return entitlements ? std::make_unique<Task>(*entitlements) : nullptr;
}

}  // namespace platform::native
