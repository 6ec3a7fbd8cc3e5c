#include "console/PlainLanguage.h"

#include <glib.h>

#include <algorithm>
#include <charconv>

#include "console/MenuText.h"

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
  Words words(values, values + count);
  g_strfreev(values);
  return words;
}

JSON error(std::string_view text) { return JSON::ObjectValue{{"error", text}}; }

// "3.5.2" as people count, from one.
std::optional<JSON::ArrayValue> positionsOf(std::string_view text) {
  JSON::ArrayValue positions;
  while (true) {
    std::int64_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || number < 1) return std::nullopt;
    positions.push_back(number - 1);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (text.empty()) return positions;
    if (text.front() != '.') return std::nullopt;
    text.remove_prefix(1);
  }
}

std::optional<JSON> menuRequest(const Words& words) {
  static constexpr std::string_view kinds[] = {"items", "folder", "sidebar", "toolbar"};
  const auto* kind = words.size() == 1 ? kinds : std::ranges::find(kinds, words[1]);
  if (words.size() > 2 || kind == std::end(kinds)) return std::nullopt;
  return JSON::ObjectValue{{"do", "menu"}, {"kind", static_cast<std::int64_t>(kind - kinds)}};
}

std::optional<JSON> chooseRequest(const Words& words) {
  if (words.size() == 1) return std::nullopt;
  if (auto positions = words.size() == 2 ? positionsOf(words[1]) : std::nullopt) {
    return JSON::ObjectValue{{"do", "choose"}, {"at", *std::move(positions)}};
  }
  return JSON::ObjectValue{{"do", "choose"}, {"titles", JSON::ArrayValue(words.begin() + 1, words.end())}};
}

std::optional<JSON> waitRequest(const Words& words) {
  if (words.size() < 2) return std::nullopt;
  JSON request(JSON::ObjectValue{{"do", "wait"}, {"until", words[1]}});
  if (words.size() == 3 && words[1] == "archive") request.set("file", words[2]);
  if (words.size() == 3 && words[1] == "folders") {
    const auto count = positionsOf(words[2]);
    request.set("count", count && count->size() == 1 ? *count->front().get<std::int64_t>() + 1 : std::int64_t{0});
  }
  return request;
}

std::optional<JSON> requestOfWords(const Words& words) {
  const std::string& name = words.front();
  if (name == "menu") return menuRequest(words);
  if (name == "choose") return chooseRequest(words);
  if (name == "wait") return waitRequest(words);
  JSON request(JSON::ObjectValue{{"do", name}});
  if (name == "select") {
    request.set("files", JSON::ArrayValue(words.begin() + 1, words.end()));
  } else if (words.size() == 2) {
    request.set(name == "badge" ? "file" : "folder", words[1]);
  } else if (words.size() > 2) {
    return std::nullopt;
  } else if (name == "target") {
    request.set("folder", nullptr);
  }
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
  return requestOfWords(*words).value_or(error("not understood; help lists the commands"));
}

std::string PlainLanguage::replyText(const JSON& request, const JSON& reply) {
  const std::string* name = request.stringMember("do");
  if (name && *name == "help") return std::string(help);
  if (const std::string* text = reply.stringMember("error")) return "error: " + printable(*text) + "\n";
  if (const JSON* menu = reply.member("menu")) return menuText(*menu);
  return memberLines(reply);
}

std::string PlainLanguage::eventText(const JSON& event) {
  if (const std::string* line = event.stringMember("line")) return "* log: " + printable(*line) + "\n";
  const JSON* urls = event.member("urls");
  const auto* list = urls ? urls->get<JSON::ArrayValue>() : nullptr;
  if (!list || list->empty()) return "* no folder is watched\n";
  std::string text;
  for (const JSON& url : *list) text += "* watching " + printable(*url.get<std::string>()) + "\n";
  return text;
}
