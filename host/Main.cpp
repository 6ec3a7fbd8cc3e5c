// The reference host: the other end of the wire, for people who write a host and for tests.
#include <glib-unix.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <iostream>
#include <memory>

#include "host/CommandLine.h"
#include "host/Host.h"
#include "host/ListingService.h"
#include "host/SettingsCommands.h"
#include "platform/linux/Log.h"
#include "platform/linux/OwnedGLib.h"
#include "platform/linux/bus/DistributedNotificationCenter.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/files/FileManager.h"
#include "platform/linux/images/Workspace.h"
#include "platform/linux/ports/MessagePorts.h"
#include "platform/linux/settings/UserDefaults.h"

using platform::Log;
using platform::Object;
using namespace platform::native;

namespace {

/// In microseconds; a session that is starting up is busy.
constexpr SessionBus::Moment longestStart = 10'000'000;

int complain(const std::string& sentence, int status) {
  std::cerr << "dovetail-host: " << sentence << '\n';
  return status;
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
std::string writeVersion(const CommandLine& line) {
  const auto writer = SettingsWriter::forGroup(line.group);
  if (!writer) return "The group \"" + line.group + "\" can name no settings.";
  const auto error = writer->setObject(Object(line.version), "DTApplicationVersion");
  if (!error) return {};
  const std::string* reason = error->textForKey(platform::LocalizedDescriptionKey);
  return "The version cannot be written into the settings: " + (reason ? *reason : error->domain);
}

// What is made last goes first: the host with its port and its name, then the bus.
int runHost(const CommandLine& line, Log& log) {
  SessionBus bus(log);
  GDBusConnection* connection = bus.connection(g_get_monotonic_time() + longestStart);
  if (!connection) return complain("No session bus can be reached.", 1);
  if (!g_dbus_is_name(line.identifier.c_str()) || g_dbus_is_unique_name(line.identifier.c_str()))
    return complain("\"" + line.identifier + "\" is no name for the bus.", 2);
  const auto shared = heldSharedConnection();
  if (const std::string fault = writeVersion(line); !fault.empty()) return complain(fault, 1);

  EventLines lines(STDOUT_FILENO, line.isQuiet);
  RunLoop loop(lines);
  LinuxDistributedNotificationCenter notifications(bus, log);
  LinuxWorkspace workspace(log);
  LinuxFileManager files(workspace);
  ArchiveLister lister({}, log);
  LinuxMessagePorts ports(log);
  {
    Host host({line.group, line.identifier, line.version, line.answersRequests},
              {ports, notifications, files, lister, *connection, log}, lines,
              [&loop](std::string reason) { loop.give(std::move(reason)); });
    host.start();
    loop.run();
  }
  lines.write("quit", {});
  return loop.reason().empty() ? 0 : complain(loop.reason(), 1);
}

int runSettings(const CommandLine& line, Log& log) {
  SessionBus bus(log);
  LinuxUserDefaultsSuites suites(bus);
  const auto settings = suites.initWithSuiteName(line.group);
  const auto writer = SettingsWriter::forGroup(line.group);
  if (!settings || !writer) return complain("The group \"" + line.group + "\" can name no settings.", 2);
  LinuxWorkspace workspace(log);
  LinuxFileManager files(workspace);
  return SettingsCommands(*settings, *writer, files, std::cout, std::cerr).run(line.words);
}

int serveListings(char** arguments) {
  const ListingBounds bounds{std::strtoull(arguments[0], nullptr, 10), std::strtoull(arguments[1], nullptr, 10)};
  return runListingService(STDIN_FILENO, bounds, std::strtoull(arguments[2], nullptr, 10));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 5 && std::string_view(argv[1]) == listingServiceCommand) return serveListings(argv + 2);
  std::setlocale(LC_ALL, "");
  signal(SIGPIPE, SIG_IGN);
  std::string fault;
  const auto line = CommandLine::parse({argv + 1, argv + argc}, fault);
  if (!line) return complain(fault + " See dovetail-host --help.", 2);
  if (line->isHelpWanted) return std::cout << CommandLine::help, 0;
  LinuxLog log;
  log.setOnLine([](std::string_view text) { std::cerr << "dovetail-host: " << text << '\n'; });
  // The extensions watch for signals by tracing, which Yama allows only with leave (prctl(2)).
  prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0);
  const bool isRun = line->words.empty() || line->words[0] == "run";
  if (isRun && line->words.size() > 1) return complain("The command run stands alone. See dovetail-host --help.", 2);
  return isRun ? runHost(*line, log) : runSettings(*line, log);
}
