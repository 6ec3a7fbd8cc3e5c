#include "console/Conformance.h"

#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>

#include "console/HostDialogue.h"
#include "core/ApplicationGroup.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/OwnedGLib.h"
#include "platform/linux/ports/PortFolder.h"
#include "platform/linux/ports/SocketAddress.h"
#include "wire/Messages.h"
#include "wire/Settings.h"

using namespace std::chrono_literals;
using platform::Object;
using platform::URL;
using platform::native::Descriptor;
using platform::native::PortFolder;

namespace {

using Breach = std::optional<std::string>;

constexpr auto longestAnswer = 5s;
/// How long a host that is to send nothing is listened to after it had every occasion.
constexpr auto silence = 300ms;

struct TarEntry {
  std::string path;  ///< With a final slash for a folder; 100 bytes at most.
  std::string content = {};
};

/// A tar of the oldest form (POSIX.1-1988, ustar): so that it needs no library that the host may share.
std::string tarOf(const std::vector<TarEntry>& entries) {
  std::string tar;
  for (const TarEntry& entry : entries) {
    std::array<char, 512> header{};
    entry.path.copy(header.data(), 100);
    g_snprintf(&header[100], 8, "%07o", entry.path.ends_with('/') ? 0755u : 0644u);
    g_snprintf(&header[124], 12, "%011o", static_cast<unsigned>(entry.content.size()));
    g_snprintf(&header[136], 12, "%011o", 1'700'000'000u);
    header[156] = entry.path.ends_with('/') ? '5' : '0';
    std::memcpy(&header[257], "ustar\00000", 8);
    std::memset(&header[148], ' ', 8);
    unsigned sum = 0;
    for (const char byte : header) sum += static_cast<std::uint8_t>(byte);
    g_snprintf(&header[148], 8, "%06o", sum);
    tar.append(header.data(), header.size());
    tar.append(entry.content);
    tar.append((512 - tar.size() % 512) % 512, '\0');
  }
  return tar.append(1024, '\0');
}

/// A folder that is there as long as the object.
class ScratchFolder {
 public:
  ScratchFolder() {
    const platform::native::OwnedText made(g_dir_make_tmp("dovetail-conformance-XXXXXX", nullptr));
    if (made) path_ = made.get();
  }
  ~ScratchFolder() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;

  bool isThere() const { return !path_.empty(); }
  std::string path(const std::string& name) const { return path_ + "/" + name; }
  /// Put in the place of an older file in one step, so that it is another file.
  std::string file(const std::string& name, const std::string& content) const {
    std::ofstream(path("unfinished"), std::ios::binary) << content;
    std::filesystem::rename(path("unfinished"), path(name));
    return path(name);
  }

 private:
  std::string path_;
};

class Examination {
 public:
  Examination(const platform::Platform& services, std::string group, const std::function<void(const Promise&)>& tell)
      : services_(services),
        tell_(tell),
        group_(std::move(group)),
        ownName_(wire::extensionPortName(group_, services.mainBundle.processIdentifier())),
        dialogue_(services.messagePorts, ownName_, wire::hostPortName(group_)) {}

  /// Whether all was kept.
  bool run() {
    if (!theHostIsThere()) return false;
    theFolderOfPorts();
    if (!theFirstQuestion()) return false;
    theTree();
    theSilences();
    theRecords();
    theConnections();
    theSlow();
    promise("1", "Nothing else is sent to an extension",
            [this]() -> Breach { return dialogue_.oddities().empty() ? Breach() : "there came " + dialogue_.oddities().front(); });
    return areAllKept_;
  }

 private:
  bool promise(std::string section, std::string text, const std::function<Breach()>& check) {
    const Promise promise{std::move(section), std::move(text), check()};
    tell_(promise);
    if (promise.breach) areAllKept_ = false;
    return !promise.breach;
  }

  bool theHostIsThere() {
    return promise("3 The running host", "One process owns the host's name on the session bus",
                   [this]() -> Breach {
                     const std::string identifier = services_.mainBundle.hostBundleIdentifier();
                     const auto running = services_.runningApplications.runningApplicationsWithBundleIdentifier(identifier);
                     if (running.size() != 1) return std::to_string(running.size()) + " processes own " + identifier;
                     host_ = running.front().processIdentifier;
                     return {};
                   }) &&
           promise("4 Shared settings", "The host's version stands in the settings", [this]() -> Breach {
             const auto settings = services_.userDefaultsSuites.initWithSuiteName(group_);
             const bool isThere = settings && settings->stringForKey(wire::SettingsKey::applicationVersion);
             return isThere ? Breach() : "there is no text under " + std::string(wire::SettingsKey::applicationVersion);
           });
  }

  void theFolderOfPorts() {
    promise("3 The folder of ports", "The folder is the user's own, and nobody else's to use", []() -> Breach {
      struct stat facts {};
      if (lstat(PortFolder::usualPath().c_str(), &facts) != 0) return std::strerror(errno);
      if (!S_ISDIR(facts.st_mode) || facts.st_uid != geteuid()) return "it is no folder of this user";
      return (facts.st_mode & 0777) == 0700 ? Breach() : "its mode is not 0700";
    });
    promise("3 Opening a port to listen on", "The port's lock is held as long as the port lives", [this]() -> Breach {
      const std::string path = PortFolder::usualPath() + "/." + PortFolder::fileForPort(wire::hostPortName(group_)) + ".lock";
      const Descriptor lock(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
      if (!lock) return std::string("the lock cannot be opened: ") + std::strerror(errno);
      return flock(lock.get(), LOCK_EX | LOCK_NB) == 0 ? Breach("nobody holds it") : Breach();
    });
    promise("3 Names", "The process with the name is the one that listens on the host's port", [this]() -> Breach {
      const Descriptor socket = connected();
      ucred peer{};
      socklen_t length = sizeof peer;
      if (!socket) return std::string("nobody listens: ") + std::strerror(errno);
      if (getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) return std::strerror(errno);
      return peer.pid == host_ ? Breach() : "process " + std::to_string(peer.pid) + " listens";
    });
  }

  Descriptor connected() const {
    Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const std::string path = PortFolder::usualPath() + "/" + PortFolder::fileForPort(wire::hostPortName(group_));
    const platform::native::SocketAddress address(path);
    if (!socket || ::connect(socket.get(), address.get(), address.length()) != 0) return Descriptor();
    return socket;
  }

  bool theFirstQuestion() {
    promise("5 On each message", "A ping is taken", [this]() -> Breach {
      const bool isSent = dialogue_.isOpen() && dialogue_.send({wire::Selector::pingPortName, Object(ownName_)});
      return isSent ? Breach() : "it could not be sent";
    });
    return promise("5 An archive is asked about", "An archive is answered with its tree, under its identity",
                   [this]() -> Breach { return answerAbout(folder_.file("first.tar", tarOf({{"entry"}}))).breach; });
  }

  struct Outcome {
    const DTTreeNode* tree = nullptr;
    Breach breach = {};
  };

  bool ask(const std::string& path) {
    return dialogue_.send({wire::Selector::openArchive, Object(URL::fileURLWithPath(path, false))});
  }

  Outcome answerAbout(const std::string& path) {
    const auto file = services_.fileManager.fileResourceIdentifier(URL::fileURLWithPath(path, false));
    if (!file) return {nullptr, "the file could not be made"};
    if (!ask(path)) return {nullptr, "the question could not be sent"};
    if (!HostDialogue::wait([&] { return dialogue_.answerAbout(*file) != nullptr; }, longestAnswer))
      return {nullptr, "no answer came within five seconds"};
    return {dialogue_.answerAbout(*file)->tree.get()};
  }

  /// Whether the host shows a tar of these entries as that line.
  Breach shows(const std::string& line, const std::vector<TarEntry>& entries) {
    const std::string name = "archive " + std::to_string(++archives_) + ".tar";
    const Outcome outcome = answerAbout(folder_.file(name, tarOf(entries)));
    if (outcome.breach) return outcome.breach;
    const std::string shown = lineOfTree(*outcome.tree);
    return shown == name + "[" + line + "]" ? Breach() : "it is shown as " + shown;
  }

  void theTree() {
    const std::string section = "5 From a table of contents to a tree";
    promise(section, "The root is a folder that bears the archive's file name", [this] { return shows("a", {{"a"}}); });
    promise(section, "Children stand in the archive's order", [this] { return shows("b a c", {{"b"}, {"a"}, {"c"}}); });
    promise(section, "Sizes are told in bytes", [this] { return shows("a:5 b", {{"a", "12345"}, {"b"}}); });
    promise(section, "A folder that the archive leaves out is made where the first path needs it", [this] {
      return shows("x d[e[f]] y", {{"x"}, {"d/e/f"}, {"y"}});
    });
    promise(section, "A folder stands once, however often it is listed", [this] {
      return shows("d[a b]", {{"d/a"}, {"d/"}, {"d/b"}, {"d/"}});
    });
    promise(section, "Files stand as often as they are listed", [this] { return shows("a a", {{"a"}, {"a"}}); });
    promise(section, "Empty parts of a path and \".\" vanish", [this] { return shows("a b c[d]", {{"./a"}, {"/b"}, {"c//d"}}); });
    promise(section, "\"..\" is a name like any other", [this] { return shows("..[up]", {{"../up"}}); });
    promise(section, "A byte that is not UTF-8 is shown as Windows-1252", [this] { return shows("caf\u00E9", {{"caf\xE9"}}); });
    promise("2.3 The tree", "Each node has a number of its own, and none but the root has 0", [this]() -> Breach {
      const Outcome outcome = answerAbout(folder_.file("numbers.tar", tarOf({{"a"}, {"d/b"}, {"d/c"}, {"a"}})));
      return outcome.breach ? outcome.breach : breachOfNumbers(*outcome.tree);
    });
    promise("5 An archive is asked about", "A file that was replaced is another file, with a tree of its own", [this]() -> Breach {
      Breach first = answerAbout(folder_.file("replaced.tar", tarOf({{"old"}}))).breach;
      if (first) return first;
      const Outcome second = answerAbout(folder_.file("replaced.tar", tarOf({{"new"}})));
      if (second.breach) return second.breach;
      const std::string shown = lineOfTree(*second.tree);
      return shown == "replaced.tar[new]" ? Breach() : "it is shown as " + shown;
    });
  }

  /// Whether the host, asked about each of these and then about a real archive, answers the archive's question alone.
  Breach staysSilent(const std::vector<URL>& urls) {
    const std::size_t before = dialogue_.answers().size();
    for (const URL& url : urls) {
      if (!dialogue_.send({wire::Selector::openArchive, Object(url)})) return "a question could not be sent";
    }
    if (Breach breach = stillAnswers()) return breach;
    HostDialogue::wait([&] { return dialogue_.answers().size() > before + 1; }, silence);
    return dialogue_.answers().size() == before + 1 ? Breach() : "an answer came";
  }

  Breach stillAnswers() {
    return answerAbout(folder_.file("still " + std::to_string(++archives_) + ".tar", tarOf({{"entry"}}))).breach;
  }

  void theSilences() {
    const std::string section = "5 An archive is asked about";
    promise(section, "A file that is no archive is not answered", [this] {
      return staysSilent({URL::fileURLWithPath(folder_.file("text.zip", "no archive, whatever its name\n"), false)});
    });
    promise(section, "A file that is gone is not answered",
            [this] { return staysSilent({URL::fileURLWithPath(folder_.path("gone.tar"), false)}); });
    promise(section, "A folder is not answered", [this] {
      std::filesystem::create_directory(folder_.path("folder.tar"));
      return staysSilent({URL::fileURLWithPath(folder_.path("folder.tar"), true)});
    });
    promise(section, "A symbolic link is not followed", [this] {
      folder_.file("target.tar", tarOf({{"entry"}}));
      std::filesystem::create_symlink("target.tar", folder_.path("link.tar"));
      return staysSilent({URL::fileURLWithPath(folder_.path("link.tar"), false)});
    });
  }

  Breach survives(const std::vector<platform::Data>& records) {
    for (const platform::Data& record : records) {
      if (!dialogue_.sendBytes(record)) return "a record could not be sent";
    }
    return stillAnswers();
  }

  static platform::Data archived(const Object& root) {
    return platform::KeyedArchiver::archivedDataWithRootObject(root).value_or(platform::Data());
  }
  static platform::Data archived(DTMessage message) {
    return archived(Object(std::make_shared<const DTMessage>(std::move(message))));
  }

  void theRecords() {
    promise("3 Records", "A record of more than 65,536 bytes is taken from a memory file",
            [this] { return survives({archived(DTMessage("noSuchMethod:", Object(std::string(100'000, 'x'))))}); });
    const std::string section = "6 Connections";
    promise(section, "Bytes that are no archive cost nothing, nor does an empty record", [this] {
      return survives({platform::Data{'n', 'o', 'n', 'e'}, platform::Data()});
    });
    promise(section, "A sound archive that is no message is ignored", [this] { return survives({archived(Object("a text"))}); });
    promise(section, "A selector that the host does not have is ignored, and so is none", [this] {
      return survives({archived(DTMessage("noSuchMethod:", Object("x"))), archived(DTMessage())});
    });
    promise(section, "An argument of another kind is ignored", [this] {
      return survives({archived(DTMessage(wire::Selector::openArchive, Object("no URL"))),
                       archived(DTMessage(wire::Selector::openArchive, Object())),
                       archived(DTMessage(wire::Selector::pingPortName, Object(true)))});
    });
  }

  void theConnections() {
    promise("6 Connections", "Who hangs up and connects again is served again", [this] {
      dialogue_.hangUp();
      return stillAnswers();
    });
    promise("3 Names", "An answer goes to the port that the question names", [this]() -> Breach {
      HostDialogue second(services_.messagePorts, ownName_ + ".second", wire::hostPortName(group_));
      const std::size_t before = dialogue_.answers().size();
      const URL url = URL::fileURLWithPath(folder_.file("second.tar", tarOf({{"entry"}})), false);
      if (!second.send({wire::Selector::openArchive, Object(url)})) return "the question could not be sent";
      if (!HostDialogue::wait([&] { return !second.answers().empty(); }, longestAnswer)) return "no answer came there";
      return dialogue_.answers().size() == before ? Breach() : "it came elsewhere too";
    });
    promise("6 Connections", "An extension whose port was opened anew is answered there", [this]() -> Breach {
      const std::string name = ownName_ + ".anew";
      const URL url = URL::fileURLWithPath(folder_.file("anew.tar", tarOf({{"entry"}})), false);
      // The host may find out by a send that fails that the port of the first time is gone.
      for (int time = 0; time < 3; ++time) {
        HostDialogue anew(services_.messagePorts, name, wire::hostPortName(group_));
        if (!anew.send({wire::Selector::openArchive, Object(url)})) return "the question could not be sent";
        const bool isAnswered = HostDialogue::wait([&] { return !anew.answers().empty(); }, 2s);
        if (time == 0 && !isAnswered) return "no answer came to the first port";
        if (time > 0 && isAnswered) return {};
      }
      return "no answer came to the second port, nor to the third";
    });
  }

  void theSlow() {
    promise("6 Connections", "An extension that does not read holds up nobody else", [this]() -> Breach {
      const std::string name = ownName_ + ".slow";
      const auto unread = services_.messagePorts.createLocal(
          name, [](auto&, auto, auto) -> std::optional<platform::Data> { return std::nullopt; }, {.version = 1});
      if (!unread) return "its port could not be opened";
      DTMessage question(wire::Selector::openArchive, Object(URL::fileURLWithPath(folder_.path("first.tar"), false)));
      question.setPortName(name);
      const platform::Data record = archived(std::move(question));
      for (int i = 0; i < 400; ++i) {
        if (!dialogue_.sendBytes(record)) return "the host does not read";
      }
      Breach breach = stillAnswers();
      unread->invalidate();
      return breach;
    });
  }

  const platform::Platform& services_;
  const std::function<void(const Promise&)>& tell_;
  std::string group_;
  std::string ownName_;
  HostDialogue dialogue_;
  ScratchFolder folder_;
  std::int32_t host_ = 0;
  int archives_ = 0;
  bool areAllKept_ = true;
};

void addNumbers(const DTTreeNode& node, std::vector<std::uint64_t>& numbers) {
  for (const DTTreeNode& child : node.childNodes()) {
    numbers.push_back(child.representedObject() ? child.representedObject()->index() : 0);
    addNumbers(child, numbers);
  }
}

}  // namespace

bool examineHost(const platform::Platform& services, const std::function<void(const Promise&)>& tell) {
  const auto group = copyApplicationGroup(services.security);
  if (group) return Examination(services, *group, tell).run();
  tell({"4 Entitlements", "There is an application group", std::string(group.reason())});
  return false;
}

std::string textOfPromise(const Promise& promise) {
  const std::string text = promise.section + ": " + promise.text;
  return promise.breach ? "[BROKEN] " + text + ": " + *promise.breach : "[kept]   " + text;
}

std::string lineOfTree(const DTTreeNode& node) {
  const DTArchiveEntry* entry = node.representedObject();
  if (!entry) return "(no entry)";
  std::string line = entry->name().value_or("(no name)");
  if (entry->size() != 0) line += ":" + std::to_string(entry->size());
  if (!entry->isFolder() && node.childNodes().empty()) return line;
  line += "[";
  for (const DTTreeNode& child : node.childNodes()) line += (line.ends_with('[') ? "" : " ") + lineOfTree(child);
  return line + "]";
}

std::optional<std::string> breachOfNumbers(const DTTreeNode& root) {
  std::vector<std::uint64_t> numbers;
  addNumbers(root, numbers);
  std::ranges::sort(numbers);
  if (!numbers.empty() && numbers.front() == 0) return "an entry has the number 0";
  const auto twice = std::ranges::adjacent_find(numbers);
  return twice == numbers.end() ? std::nullopt
                                : std::optional<std::string>("two entries have the number " + std::to_string(*twice));
}
