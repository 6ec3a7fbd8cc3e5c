// The reference host: the other end of the wire, for people who write a host and for tests.
#include <glib-unix.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <clocale>
#include <cstdlib>
#include <memory>

#include "host/Host.h"
#include "host/ListingService.h"
#include "host/SettingsCommands.h"
#include "host/WatchLeave.h"
#include "platform/BuildSettings.h"
#include "platform/linux/Log.h"
#include "platform/linux/OwnedGLib.h"
#include "platform/linux/bus/DistributedNotificationCenter.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/files/FileManager.h"
#include "platform/linux/images/Workspace.h"
#include "platform/linux/ports/MessagePorts.h"
#include "platform/linux/programs/Program.h"
#include "platform/linux/settings/UserDefaults.h"
#include "wire/Settings.h"

namespace settings = platform::BuildSettings;
using platform::Log;
using platform::Object;
using namespace platform::native;

namespace {

/// In microseconds; a session that is starting up is busy.
constexpr SessionBus::Moment longestStart = 10'000'000;
/// For a reader that is slow, at the end.
constexpr std::chrono::seconds longestLastLines{1};

constexpr char usage[] = "[COMMAND...]";
constexpr char purpose[] =
    "The other end of the wire, for people who write a host and for tests.\n"
    "\n"
    "Commands:\n"
    "  run                                 be the host until SIGTERM or SIGINT (the default); prints one JSON object a line\n"
    "  folders list                        print the watched folders\n"
    "  folders add PATH...                 watch folders\n"
    "  folders remove PATH...              watch them no longer\n"
    "  folders clear                       watch none\n"
    "  items contextual|toolbar [show]     print a menu's layout\n"
    "  items contextual|toolbar [root=TAGS] [more=TAGS] [other=TAGS]\n"
    "                                      set it: tags 1 to 10 with commas between; the tags left over are hidden\n"
    "  items contextual|toolbar reset      go back to the layout of a new user\n"
    "  icons archive|contextual|toolbar on|off\n"
    "                                      show icons in archive menus, or beside a menu's commands\n"
    "  settings                            print all shared settings as JSON";

struct Options {
  std::string group{settings::applicationGroup};
  std::string identifier{settings::hostBundleIdentifier};
  std::string bundleVersion{settings::bundleVersion};
  bool isAnswerUnwanted = false;
  bool isQuiet = false;
};

Program programWith(Options& options) {
  return {"dovetail-host",
          usage,
          purpose,
          {{"group", &options.group, "Application group that names ports and settings", "GROUP"},
           {"identifier", &options.identifier, "Bundle identifier that is owned on the session bus", "NAME"},
           {"bundle-version", &options.bundleVersion, "Version that is written into the settings", "TEXT"},
           {"no-answer", &options.isAnswerUnwanted, "Print requests for archives without answering them"},
           {"quiet", &options.isQuiet, "Print nothing but the lines \"ready\", \"promoted\" and \"quit\""}}};
}

/// Runs the main loop until a signal asks for the end or the host gives up, with the reason.
class RunLoop {
 public:
  explicit RunLoop(EventLines& lines) : loop_(g_main_loop_new(nullptr, FALSE)) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) g_unix_signal_add(signal, &RunLoop::quit, loop_);
    g_unix_signal_add(SIGUSR1, &RunLoop::tell, &lines);
  }
  ~RunLoop() { g_main_loop_unref(loop_); }
  RunLoop(const RunLoop&) = delete;

  void run() { g_main_loop_run(loop_); }
  void give(std::string reason) {
    reason_ = std::move(reason);
    g_main_loop_quit(loop_);
  }
  const std::string& reason() const { return reason_; }

 private:
  static gboolean quit(gpointer loop) {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_CONTINUE;
  }

  // A signal that changes nothing, for people who want to see what a delivered signal means to the extensions.
  static gboolean tell(gpointer lines) {
    static_cast<EventLines*>(lines)->write("signal", {{"number", platform::JSON(SIGUSR1)}});
    return G_SOURCE_CONTINUE;
  }

  GMainLoop* loop_;
  std::string reason_;
};

/// The process's shared connection to the bus, which the settings are written over. Held for the host's life, so that it stays the one
/// that is told not to end the process when the bus goes away: the host has an end of its own for that.
OwnedObject<GDBusConnection> heldSharedConnection() {
  OwnedObject<GDBusConnection> shared(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (shared) g_dbus_connection_set_exit_on_close(shared.get(), FALSE);
  return shared;
}

/// Empty when the settings hold the version by now, else why they do not.
std::string writeVersion(const Options& options) {
  const auto writer = SettingsWriter::forGroup(options.group);
  if (!writer) return "The group \"" + options.group + "\" can name no settings.";
  const auto written = writer->setObject(Object(options.bundleVersion), wire::SettingsKey::applicationVersion);
  if (written) return {};
  const std::string* reason = written.reason().textForKey(platform::LocalizedDescriptionKey);
  return "The version cannot be written into the settings: " + (reason ? *reason : written.reason().domain);
}

// What is made last goes first: the host with its port and its name, then the bus.
int runHost(const Program& program, const Options& options, Log& log) {
  SessionBus bus(log);
  GDBusConnection* connection = bus.connection(g_get_monotonic_time() + longestStart);
  if (!connection) return program.complain("No session bus can be reached.");
  if (!g_dbus_is_name(options.identifier.c_str()) || g_dbus_is_unique_name(options.identifier.c_str()))
    return program.misuse("\"" + options.identifier + "\" is no name for the bus.");
  const auto shared = heldSharedConnection();
  if (const std::string fault = writeVersion(options); !fault.empty()) return program.complain(fault);

  EventLines lines(STDOUT_FILENO, log, options.isQuiet);
  RunLoop loop(lines);
  LinuxDistributedNotificationCenter notifications(bus, log);
  LinuxWorkspace workspace(log);
  LinuxFileManager files(workspace);
  ArchiveLister lister({}, log);
  LinuxMessagePorts ports(log);
  {
    Host host({options.group, options.identifier, options.bundleVersion, !options.isAnswerUnwanted},
              {ports, notifications, files, lister, *connection, log, [](pid_t browser) { giveLeaveToWatch(browser); }}, lines,
              [&loop](std::string reason) { loop.give(std::move(reason)); });
    host.start();
    loop.run();
  }
  lines.write("quit", {});
  lines.finish(longestLastLines);
  return loop.reason().empty() ? ExitStatus::done : program.complain(loop.reason());
}

int runSettings(const Program& program, const Options& options, const Program::Words& words, Log& log) {
  SessionBus bus(log);
  LinuxUserDefaultsSuites suites(bus);
  const auto settings = suites.initWithSuiteName(options.group);
  const auto writer = SettingsWriter::forGroup(options.group);
  if (!settings || !writer) return program.misuse("The group \"" + options.group + "\" can name no settings.");
  LinuxWorkspace workspace(log);
  LinuxFileManager files(workspace);
  return SettingsCommands(*settings, *writer, files, program).run(words);
}

int runWords(const Program& program, const Options& options, const Program::Words& words) {
  LinuxLog log;
  log.setOnLine([&program](std::string_view text) { program.complain(text); });
  const bool isRun = words.empty() || words[0] == "run";
  if (isRun && words.size() > 1) return program.misuse("The command run stands alone.");
  return isRun ? runHost(program, options, log) : runSettings(program, options, words, log);
}

int serveListings(char** arguments) {
  const ListingBounds bounds{std::strtoull(arguments[0], nullptr, 10), std::strtoull(arguments[1], nullptr, 10)};
  return runListingService(STDIN_FILENO, bounds, std::strtoull(arguments[2], nullptr, 10));
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const Program program = programWith(options);
  if (argc == 5 && std::string_view(argv[1]) == listingServiceCommand)
    return program.guard([&] { return serveListings(argv + 2); });
  std::setlocale(LC_ALL, "");
  signal(SIGPIPE, SIG_IGN);
  return program.run(argv, [&](const Program::Words& words) { return runWords(program, options, words); });
}
