#include "console/PlainLanguage.h"

#include <algorithm>
#include <charconv>

#include "console/MenuText.h"
#include "platform/linux/OwnedGLib.h"

using platform::JSON;

namespace {

using Words = std::vector<std::string>;

constexpr std::string_view help =
    "What a person does in a file browser:\n"
    "  open FOLDER              show a folder in a window\n"
    "  close FOLDER             close one of its windows\n"
    "  select [FILE...]         select items, or none\n"
    "  target [FOLDER]          act in a folder, or in none\n"
    "  menu [items|folder|sidebar|toolbar]\n"
    "                           show the menu of the selection, of the folder's\n"
    "                           background, of the sidebar or of the toolbar button\n"
    "  choose 3.5.2             choose an item of the last menu by its number\n"
    "  choose Compress TAR GZIP   or by the titles on the way to it\n"
    "What the browser tells the extension, told directly:\n"
    "  begin FOLDER, end FOLDER, badge FILE\n"
    "And:\n"
    "  state                    what the extension knows\n"
    "  toolbar                  the toolbar button\n"
    "  wait host|noHost|archive FILE|folders COUNT\n"
    "                           wait until the host runs or is gone, the contents of an\n"
    "                           archive have arrived, or so many folders are watched\n"
    "  help, quit\n"
    "Names with spaces stand in quotes.\n";

std::optional<Words> wordsOfLine(std::string_view line) {
  int count = 0;
  char** values = nullptr;
  if (!g_shell_parse_argv(std::string(line).c_str(), &count, &values, nullptr)) return std::nullopt;
  const platform::native::OwnedTexts owned(values);
  return Words(values, values + count);
}

JSON error(std::string_view text) {
  JSON reply;
  reply.set("error", text);
  return reply;
}

JSON requestTo(std::string_view name) {
  JSON request;
  request.set("do", name);
  return request;
}

JSON listOf(const Words& words, std::size_t first) {
  JSON::ArrayValue list;
  for (std::size_t i = first; i < words.size(); ++i) list.emplace_back(words[i]);
  return list;
}

std::optional<std::int64_t> numberOf(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  return failure == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// "3.5.2" as people count, from one; none for any other text.
JSON::ArrayValue positionsOf(std::string_view text) {
  JSON::ArrayValue positions;
  while (true) {
    const std::size_t end = text.find('.');
    const auto number = numberOf(text.substr(0, end));
    if (!number || *number < 1) return {};
    positions.emplace_back(*number - 1);
    if (end == std::string_view::npos) return positions;
    text.remove_prefix(end + 1);
  }
}

// Each of these answers null for words that it does not understand.

JSON menuRequest(const Words& words) {
  static constexpr std::string_view kinds[] = {"items", "folder", "sidebar", "toolbar"};
  const auto* kind = words.size() == 1 ? kinds : std::ranges::find(kinds, words[1]);
  if (words.size() > 2 || kind == std::end(kinds)) return {};
  JSON request = requestTo("menu");
  request.set("kind", static_cast<std::int64_t>(kind - kinds));
  return request;
}

JSON chooseRequest(const Words& words) {
  if (words.size() == 1) return {};
  JSON request = requestTo("choose");
  JSON::ArrayValue positions = words.size() == 2 ? positionsOf(words[1]) : JSON::ArrayValue();
  if (positions.empty()) {
    request.set("titles", listOf(words, 1));
  } else {
    request.set("at", std::move(positions));
  }
  return request;
}

JSON waitRequest(const Words& words) {
  if (words.size() < 2 || words.size() > 3) return {};
  JSON request = requestTo("wait");
  request.set("until", words[1]);
  if (words.size() == 2) return request;
  const auto number = numberOf(words[2]);
  if (words[1] == "folders" && number) request.set("count", *number);
  if (words[1] == "archive") request.set("file", words[2]);
  return request;
}

JSON pathRequest(const Words& words) {
  const std::string& name = words.front();
  JSON request = requestTo(name);
  if (words.size() == 2) request.set(name == "badge" ? "file" : "folder", words[1]);
  if (words.size() == 1 && name == "target") request.set("folder", nullptr);
  return words.size() > 2 ? JSON() : request;
}

JSON requestOfWords(const Words& words) {
  const std::string& name = words.front();
  if (name == "menu") return menuRequest(words);
  if (name == "choose") return chooseRequest(words);
  if (name == "wait") return waitRequest(words);
  if (name != "select") return pathRequest(words);
  JSON request = requestTo(name);
  request.set("files", listOf(words, 1));
  return request;
}

std::string memberLines(const JSON& reply) {
  std::string text;
  for (const auto& [key, value] : *reply.get<JSON::ObjectValue>()) {
    if (key == "ok") continue;
    const auto* string = value.get<std::string>();
    text += "  " + key + ": " + (string ? printable(*string) : value.text()) + "\n";
  }
  return text;
}

}  // namespace

std::optional<JSON> PlainLanguage::requestOfLine(std::string_view line) {
  if (line.find_first_not_of(" \t\r") == std::string_view::npos) return std::nullopt;
  const auto words = wordsOfLine(line);
  if (!words) return error("a quote is missing");
  JSON request = requestOfWords(*words);
  return request.isNull() ? error("not understood; help lists the commands") : request;
}

std::string PlainLanguage::replyText(const JSON& request, const JSON& reply) {
  // Help is a matter of this language alone: the console has no such request.
  const std::string* name = request.stringMember("do");
  if (name && *name == "help") return std::string(help);
  if (const std::string* text = reply.stringMember("error")) return "error: " + printable(*text) + "\n";
  if (const JSON* menu = reply.member("menu")) return menuText(*menu);
  return memberLines(reply);
}

std::string PlainLanguage::eventText(const JSON& event) {
  if (const std::string* line = event.stringMember("line")) return "* log: " + printable(*line) + "\n";
  const std::string* name = event.stringMember("event");
  if (name && *name == "noSessionBus") return "* no session bus can be reached: no host is seen, and no change of the settings\n";
  const JSON* urls = event.member("urls");
  const auto* list = urls ? urls->get<JSON::ArrayValue>() : nullptr;
  if (!list || list->empty()) return "* no folder is watched\n";
  std::string text;
  for (const JSON& url : *list) text += "* watching " + printable(*url.get<std::string>()) + "\n";
  return text;
}
