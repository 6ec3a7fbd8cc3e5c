#include "console/Console.h"

#include <algorithm>
#include <filesystem>

#include "console/MenuJSON.h"
#include "folders/URLFacts.h"

using platform::JSON;
using platform::Menu;
using platform::MenuItem;
using platform::MenuKind;
using platform::URL;

namespace {

constexpr double usualWaitInSeconds = 10;
constexpr auto lastKind = static_cast<std::int64_t>(MenuKind::toolbarItemMenu);

JSON done() { return JSON::ObjectValue{{"ok", true}}; }

const MenuItem* itemTitled(const Menu& menu, const JSON& title) {
  const auto* text = title.get<std::string>();
  const auto item = text ? std::ranges::find(menu.items, *text, &MenuItem::title) : menu.items.end();
  return item == menu.items.end() ? nullptr : &*item;
}

const MenuItem* itemAt(const Menu& menu, const JSON& position) {
  const auto* number = position.get<std::int64_t>();
  const bool isThere = number && *number >= 0 && static_cast<std::size_t>(*number) < menu.items.size();
  return isThere ? &menu.items[static_cast<std::size_t>(*number)] : nullptr;
}

// Follows one step a level; null when a step leads nowhere.
const MenuItem* itemByWay(const Menu* menu, const JSON::ArrayValue& way,
                          const MenuItem* (*step)(const Menu& menu, const JSON& step)) {
  const MenuItem* item = nullptr;
  for (const JSON& next : way) {
    item = menu ? step(*menu, next) : nullptr;
    if (!item) return nullptr;
    menu = item->submenu.get();
  }
  return item;
}

}  // namespace

Console::Request Console::find(std::string_view name) {
  static constexpr struct {
    std::string_view name;
    Request request;
  } requests[] = {
      {"begin", &Console::begin},   {"end", &Console::end},       {"badge", &Console::badge},     {"open", &Console::open},
      {"close", &Console::close},   {"select", &Console::select}, {"target", &Console::target},   {"menu", &Console::menu},
      {"choose", &Console::choose}, {"state", &Console::state},   {"toolbar", &Console::toolbar}, {"quit", &Console::quit},
  };
  const auto* found = std::ranges::find(requests, name, [](const auto& row) { return row.name; });
  return found == std::end(requests) ? nullptr : found->request;
}

void Console::perform(const JSON& request, std::function<void(JSON)> reply) {
  const std::string* name = request.stringMember("do");
  if (!name) return reply(error("a request is an object with a text under \"do\""));
  if (*name == "wait") return wait(request, std::move(reply));
  const Request found = find(*name);
  reply(found ? (this->*found)(request) : error("no such request: " + *name));
}

// ---- The extension's entry points, called directly

JSON Console::begin(const JSON& request) {
  const auto folder = urlMember(request, "folder");
  if (!folder) return error("\"folder\" is to be a path or a file URL");
  rememberFolder(*folder);
  extension_.beginObservingDirectoryAtURL(*folder);
  return done();
}

JSON Console::end(const JSON& request) {
  const auto folder = urlMember(request, "folder");
  if (!folder) return error("\"folder\" is to be a path or a file URL");
  extension_.endObservingDirectoryAtURL(*folder);
  return done();
}

JSON Console::badge(const JSON& request) {
  const auto file = urlMember(request, "file");
  if (!file) return error("\"file\" is to be a path or a file URL");
  extension_.requestBadgeIdentifierForURL(*file);
  return done();
}

// ---- What a browser does

JSON Console::open(const JSON& request) {
  const auto folder = urlMember(request, "folder");
  if (!folder) return error("\"folder\" is to be a path or a file URL");
  const bool isLink = DTExtension::isSymbolicLink(fileManager_, *folder);
  if (!isLink && !DTExtension::isDirectory(fileManager_, *folder)) return error("no such folder: " + folder->path());
  if (!browser_.folderOpened(*folder)) return error("no such folder: " + folder->path());
  rememberFolder(*folder);
  const auto entries = fileManager_.contentsOfDirectoryAtURL(*folder);
  if (!entries) return done();
  for (const URL& entry : *entries) browser_.fileShown(entry);
  return done();
}

JSON Console::close(const JSON& request) {
  const auto folder = urlMember(request, "folder");
  if (!folder) return error("\"folder\" is to be a path or a file URL");
  return browser_.folderClosed(*folder) ? done() : error("no window shows that folder: " + folder->path());
}

JSON Console::select(const JSON& request) {
  const JSON* files = request.member("files");
  const auto* list = files ? files->get<JSON::ArrayValue>() : nullptr;
  if (!list) return error("\"files\" is to be an array of paths or file URLs");
  std::vector<URL> urls;
  for (const JSON& file : *list) {
    const auto url = urlOf(file);
    if (!url) return error("\"files\" is to be an array of paths or file URLs");
    urls.push_back(*url);
  }
  browser_.setSelectedItemURLs(std::move(urls));
  return done();
}

JSON Console::target(const JSON& request) {
  const JSON* folder = request.member("folder");
  const auto url = folder ? urlOf(*folder) : std::nullopt;
  if (!url && !(folder && folder->isNull())) return error("\"folder\" is to be a path, a file URL or null");
  browser_.setTargetedURL(url);
  return done();
}

JSON Console::menu(const JSON& request) {
  const JSON* kind = request.member("kind");
  const auto* number = kind ? kind->get<std::int64_t>() : nullptr;
  if (!number || *number < 0 || *number > lastKind) return error("\"kind\" is to be a number from 0 to 3");
  lastMenu_ = browser_.menuForMenuKind(static_cast<MenuKind>(*number));
  return JSON::ObjectValue{{"menu", lastMenu_ ? menuJSON(*lastMenu_) : JSON()}};
}

JSON Console::choose(const JSON& request) {
  const JSON* titles = request.member("titles");
  const JSON* at = request.member("at");
  const JSON* given = titles ? titles : at;
  const auto* way = given ? given->get<JSON::ArrayValue>() : nullptr;
  if (!way || way->empty() || (titles && at)) return error("either \"titles\" or \"at\" is to be an array, not empty");
  const MenuItem* item = itemByWay(lastMenu_ ? &*lastMenu_ : nullptr, *way, titles ? itemTitled : itemAt);
  if (!item) return error("the last menu has no such item");
  if (item->submenu) return error("the item opens a submenu: " + item->title);
  if (!item->isEnabled) return error("the item is disabled: " + item->title);
  if (item->action.empty()) return error("the item has no action: " + item->title);
  const std::size_t sentBefore = sent_.count();
  browser_.itemChosen(*item);
  return sent_.count() > sentBefore ? done() : error("nothing was sent: no host takes it, or what it acts on is gone");
}

JSON Console::state(const JSON&) { return stateJSON(extension_, folderPaths_); }

JSON Console::toolbar(const JSON&) {
  return JSON::ObjectValue{
      {"name", extension_.toolbarItemName()},
      {"toolTip", extension_.toolbarItemToolTip()},
      {"image", imageJSON(extension_.toolbarItemImage())},
  };
}

JSON Console::quit(const JSON&) { return done(); }

// ---- Waiting

void Console::wait(const JSON& request, std::function<void(JSON)> reply) {
  const auto holds = conditionOf(request);
  if (!holds)
    return reply(error("\"until\" is to be host, noHost, archive (of a \"file\"), folders or archiveMenus (of a \"count\")"));
  const JSON* seconds = request.member("seconds");
  const auto* whole = seconds ? seconds->get<std::int64_t>() : nullptr;
  const auto* real = seconds ? seconds->get<double>() : nullptr;
  if (seconds && !whole && !real) return reply(error("\"seconds\" is to be a number"));
  const double limit = whole ? static_cast<double>(*whole) : real ? *real : usualWaitInSeconds;
  condition_ = std::make_unique<Condition>(holds, limit, [this, reply = std::move(reply)](bool isMet) {
    condition_.reset();
    reply(isMet ? done() : error("it did not happen in that time"));
  });
}

std::function<bool()> Console::conditionOf(const JSON& request) const {
  const std::string* until = request.stringMember("until");
  if (!until) return nullptr;
  if (*until == "host") return [this] { return extension_.applicationPid() > 0; };
  if (*until == "noHost") return [this] { return extension_.applicationPid() < 0; };
  if (*until == "archive") {
    const auto file = urlMember(request, "file");
    const auto identity = file ? fileManager_.fileResourceIdentifier(*file) : std::nullopt;
    if (!identity) return nullptr;
    return [this, identity] {
      const DTDovetailSync::Archive* archive = extension_.archives().objectForKey(*identity);
      return archive && *archive;
    };
  }
  const JSON* count = request.member("count");
  const auto* number = count ? count->get<std::int64_t>() : nullptr;
  if (!number || *number < 0) return nullptr;
  const auto wanted = static_cast<std::size_t>(*number);
  if (*until == "folders") return [this, wanted] { return browser_.directoryURLs().size() == wanted; };
  if (*until == "archiveMenus") return [this, wanted] { return extension_.archiveMenus().count() == wanted; };
  return nullptr;
}

// ---- Files

std::optional<URL> Console::urlMember(const JSON& request, std::string_view key) const {
  const JSON* value = request.member(key);
  return value ? urlOf(*value) : std::nullopt;
}

std::optional<URL> Console::urlOf(const JSON& value) const {
  const auto* text = value.get<std::string>();
  if (!text || text->empty() || text->find('\0') != std::string::npos) return std::nullopt;
  const URL given = URL::URLWithString(*text);
  if (given.isFileURL()) return given.path().empty() ? std::nullopt : std::optional(given);
  std::error_code failure;
  const std::string path = text->front() == '/' ? *text : std::filesystem::current_path(failure).string() + "/" + *text;
  if (failure) return std::nullopt;
  return URL::fileURLWithPath(path, DTExtension::isDirectory(fileManager_, URL::fileURLWithPath(path)));
}

void Console::rememberFolder(const URL& folder) {
  if (const auto identity = fileManager_.fileResourceIdentifier(folder)) folderPaths_[*identity] = folder.path();
}
