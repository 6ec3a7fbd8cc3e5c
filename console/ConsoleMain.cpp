// dovetail-console: loads the extension as a file browser does, and takes a person's or a script's requests in place of clicks.
#include <glib-unix.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

#include "console/Console.h"
#include "console/ConsoleOptions.h"
#include "console/Conversation.h"
#include "console/Diagnosis.h"
#include "console/ImageSheet.h"
#include "console/JSONLanguage.h"
#include "console/PlainLanguage.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/images/Graphics.h"
#include "platform/linux/images/Workspace.h"

using platform::JSON;
using platform::native::LinuxPlatform;
using platform::native::OwnedText;

namespace {

std::unique_ptr<Language> languageOf(const ConsoleOptions& options) {
  if (options.isJSON) return std::make_unique<JSONLanguage>();
  return std::make_unique<PlainLanguage>(isatty(STDIN_FILENO) != 0);
}

std::optional<std::string> contentsOfFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string text(std::istreambuf_iterator<char>(file), {});
  return file.bad() || !file.is_open() ? std::nullopt : std::optional(text);
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

int run(const ConsoleOptions& options, LinuxPlatform& platform) {
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

  OnceOnly onceOnly;
  const auto extension = DTDovetailSync::init(platform.references(), onceOnly);
  if (!extension) return 1;
  Console console(browser, *extension, platform.fileManager());
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
  return loop.status.value_or(0);
}

int drawImages(const std::string& folder) {
  class StandardErrorLog final : public platform::Log {
    void line(std::string_view text) override {
      std::fprintf(stderr, "dovetail-console: %.*s\n", static_cast<int>(text.size()), text.data());
    }
  } log;
  platform::native::LinuxWorkspace workspace(log);
  platform::native::LinuxGraphics graphics;
  return writeImages(folder, workspace, workspace, graphics);
}

int diagnose(LinuxPlatform& platform) {
  platform::native::SessionBus bus(platform.log());
  const bool hasBus = bus.connection(platform::native::SessionBus::deadline()) != nullptr;
  std::vector<Finding> findings = findingsOfServices(platform.references(), hasBus);
  for (const BrowserPlace& browser : builtBrowsers()) {
    const OwnedText program(g_find_program_in_path(browser.name.c_str()));
    if (!program) continue;
    const auto ofBrowser = findingsOfBrowser(browser, "/proc");
    findings.insert(findings.end(), ofBrowser.begin(), ofBrowser.end());
  }
  std::fputs(textOfFindings(findings).c_str(), stdout);
  return std::any_of(findings.begin(), findings.end(), [](const Finding& finding) { return finding.isFault; }) ? 1 : 0;
}

}  // namespace

int main(int count, char** arguments) {
  const ConsoleOptions options = consoleOptions(count, arguments);
  if (options.status) {
    std::fputs(options.text.c_str(), *options.status == 0 ? stdout : stderr);
    return *options.status;
  }
  if (options.imagesFolder) return drawImages(*options.imagesFolder);
  std::signal(SIGPIPE, SIG_IGN);
  LinuxPlatform::Options choices{.entitlements = std::nullopt, .bundleVersion = options.bundleVersion};
  if (options.entitlementsFile) {
    choices.entitlements = contentsOfFile(*options.entitlementsFile);
    if (!choices.entitlements) {
      std::fprintf(stderr, "dovetail-console: cannot read %s\n", options.entitlementsFile->c_str());
      return 2;
    }
  }
  LinuxPlatform platform(std::move(choices));
  return options.isDiagnosisWanted ? diagnose(platform) : run(options, platform);
}
