// dovetail-console: loads the extension as a file browser does, and takes a person's or a script's requests in place of clicks.
#include <glib-unix.h>
#include <glib.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>

#include "console/BrowserDiagnosis.h"
#include "console/Conformance.h"
#include "console/Console.h"
#include "console/Conversation.h"
#include "console/Diagnosis.h"
#include "console/ImageSheet.h"
#include "console/JSONLanguage.h"
#include "console/PlainLanguage.h"
#include "console/SentRecords.h"
#include "core/ApplicationGroup.h"
#include "platform/Result.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/OwnedGLib.h"
#include "platform/linux/images/Graphics.h"
#include "platform/linux/images/Workspace.h"
#include "platform/linux/ports/PortFolder.h"
#include "platform/linux/programs/Program.h"
#include "wire/Messages.h"

using platform::JSON;
using namespace platform::native;

namespace {

/// What a host that is well needs at most to read a connection's end.
constexpr std::chrono::seconds longestRead(2);

struct Options {
  bool isJSON = false;
  std::optional<std::string> entitlementsFile;
  std::optional<std::string> bundleVersion;
};

constexpr char usage[] = "[conformance|diagnose|images FOLDER]";
constexpr char purpose[] =
    "A file browser without a screen: loads the extension as a browser does and takes commands in place of clicks. Type help at "
    "its\n"
    "prompt.\n"
    "\n"
    "Commands:\n"
    "  conformance     tell what the host that runs keeps of its promises (docs/host-protocol.md); the exit status is 1 when one "
    "is\n"
    "                  broken\n"
    "  diagnose        tell why a menu may be missing; the exit status is 1 when it finds a fault\n"
    "  images FOLDER   draw all images of the menus into the folder, for people to look at";

Program programWith(Options& options) {
  return {"dovetail-console",
          usage,
          purpose,
          {{"json", &options.isJSON, "One JSON object a line, for scripts (docs/console.md)"},
           {"entitlements", &options.entitlementsFile, "The extension's entitlements, in place of those built in", "FILE"},
           {"bundle-version", &options.bundleVersion, "The extension's version, in place of the one built in", "TEXT"}}};
}

std::unique_ptr<Language> languageOf(const Options& options) {
  if (options.isJSON) return std::make_unique<JSONLanguage>();
  return std::make_unique<PlainLanguage>(isatty(STDIN_FILENO) != 0);
}

platform::Result<std::string> contentsOfFile(const std::string& path) {
  char* contents = nullptr;
  gsize length = 0;
  GError* error = nullptr;
  const bool isRead = g_file_get_contents(path.c_str(), &contents, &length, &error);
  const OwnedText text(contents);
  const OwnedError reason(error);
  if (!isRead) return platform::Failure{reason->message};
  return std::string(contents, length);
}

JSON directoryURLsEvent(const std::vector<platform::URL>& folders) {
  JSON::ArrayValue urls;
  for (const platform::URL& folder : folders) urls.emplace_back(folder.absoluteString());
  JSON event;
  event.set("event", "directoryURLs");
  event.set("urls", std::move(urls));
  return event;
}

JSON logEvent(std::string_view line) {
  JSON event;
  event.set("event", "log");
  event.set("line", line);
  return event;
}

int converse(const Options& options, LinuxPlatform& platform) {
  struct Loop {
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    std::optional<int> status;
    ~Loop() { g_main_loop_unref(loop); }
    void end(int newStatus) {
      status = newStatus;
      g_main_loop_quit(loop);
    }
  } loop;

  const auto language = languageOf(options);
  Conversation conversation(*language, [&](int status) { loop.end(status); });
  auto& browser = platform.finderSyncBrowser();
  platform.log().setOnLine([&](std::string_view line) { conversation.tell(logEvent(line)); });
  browser.setOnDirectoryURLs([&] { conversation.tell(directoryURLsEvent(browser.directoryURLs())); });

  if (!platform.sessionBus().connection(SessionBus::deadline())) conversation.tell(JSON::ObjectValue{{"event", "noSessionBus"}});

  OnceOnly onceOnly;
  SentRecords sent(platform.references().messagePorts);
  const auto extension = DTDovetailSync::init(sent.standingIn(platform.references()), onceOnly);
  if (!extension) return ExitStatus::failed;
  Console console(browser, *extension, platform.fileManager(), sent);
  const auto end = +[](gpointer ended) -> gboolean {
    static_cast<Loop*>(ended)->end(0);
    return G_SOURCE_CONTINUE;
  };
  g_unix_signal_add(SIGTERM, end, &loop);
  g_unix_signal_add(SIGINT, end, &loop);
  conversation.start(console);
  if (!loop.status) g_main_loop_run(loop.loop);
  platform.log().setOnLine(nullptr);
  browser.setOnDirectoryURLs(nullptr);
  return loop.status.value_or(ExitStatus::done);
}

int drawImages(const std::string& folder, const Program& program) {
  class StandardErrorLog final : public platform::Log {
   public:
    explicit StandardErrorLog(const Program& program) : program_(program) {}
    void line(std::string_view text) override { program_.complain(text); }

   private:
    const Program& program_;
  } log(program);
  LinuxWorkspace workspace(log);
  LinuxGraphics graphics;
  return writeImages(folder, workspace, workspace, graphics);
}

/// The names that are owned on the bus or that it can start a program for; nothing when it does not say.
std::optional<std::vector<std::string>> namesOnBus(SessionBus& bus) {
  std::vector<std::string> names;
  for (const char* method : {"ListNames", "ListActivatableNames"}) {
    const OwnedVariant answer = bus.call(method, nullptr, "(as)", SessionBus::deadline());
    if (!answer) return std::nullopt;
    const OwnedVariant list(g_variant_get_child_value(answer.get(), 0));
    for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
      const OwnedVariant name(g_variant_get_child_value(list.get(), i));
      names.emplace_back(g_variant_get_string(name.get(), nullptr));
    }
  }
  return names;
}

SessionFacts sessionFacts(LinuxPlatform& platform) {
  const auto group = copyApplicationGroup(platform.references().security);
  const char* profile = g_getenv("DCONF_PROFILE");
  SessionFacts session;
  session.hasBus = platform.sessionBus().connection(SessionBus::deadline()) != nullptr;
  if (session.hasBus) session.busNames = namesOnBus(platform.sessionBus());
  if (group) session.hostsPort = factsOfPort(PortFolder::usualPath(), wire::hostPortName(*group), longestRead);
  session.runtimeFolder = g_get_user_runtime_dir();
  session.configurationFolder = g_get_user_config_dir();
  session.settingsProfile = profile ? profile : "";
  return session;
}

int diagnose(LinuxPlatform& platform) {
  std::vector<Finding> findings = findingsOfServices(platform.references(), sessionFacts(platform));
  const std::vector<Finding> ofBrowsers = findingsOfBrowsers(builtBrowsers(), "/proc", geteuid());
  findings.insert(findings.end(), ofBrowsers.begin(), ofBrowsers.end());
  std::fputs(textOfFindings(findings).c_str(), stdout);
  return hasFault(findings) ? ExitStatus::failed : ExitStatus::done;
}

int examine(LinuxPlatform& platform) {
  const auto tell = [](const Promise& promise) {
    std::puts(textOfPromise(promise).c_str());
    std::fflush(stdout);
  };
  return examineHost(platform.references(), tell) ? ExitStatus::done : ExitStatus::failed;
}

int run(const Program& program, const Options& options, const Program::Words& words) {
  const std::string command = words.empty() ? "" : words[0];
  if (!words.empty() && command != "conformance" && command != "diagnose" && command != "images")
    return program.misuse("There is no command \"" + command + "\".");
  if (command == "images" && words.size() != 2) return program.misuse("Say one folder: images FOLDER.");
  if (command == "images") return drawImages(words[1], program);
  if (words.size() > 1) return program.misuse("The command " + command + " stands alone.");
  LinuxPlatform::Options choices{.entitlements = std::nullopt, .bundleVersion = options.bundleVersion};
  if (options.entitlementsFile) {
    auto contents = contentsOfFile(*options.entitlementsFile);
    if (!contents) return program.complain("The entitlements cannot be read: " + contents.reason() + ".");
    choices.entitlements = *std::move(contents);
  }
  LinuxPlatform platform(std::move(choices));
  if (command == "conformance") return examine(platform);
  return command == "diagnose" ? diagnose(platform) : converse(options, platform);
}

}  // namespace

int main(int, char** arguments) {
  std::signal(SIGPIPE, SIG_IGN);
  Options options;
  const Program program = programWith(options);
  return program.run(arguments, [&](const Program::Words& words) { return run(program, options, words); });
}
