// The running reference host: what it does at its start, on each message and at its end (docs/host-protocol.md).
// Main thread only.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "core/DTMessage.h"
#include "host/ArchiveLister.h"
#include "host/BusName.h"
#include "host/EventLines.h"
#include "host/Predecessor.h"
#include "host/SentTrees.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/FileManager.h"
#include "platform/Log.h"
#include "platform/linux/MainLoopSource.h"
#include "platform/linux/ports/MessagePorts.h"

struct HostOptions {
  std::string group;       ///< Names the ports and the settings.
  std::string identifier;  ///< The well-known name on the session bus.
  std::string version;     ///< Kept in the settings.
  bool answersRequests = true;
};

/// What the host asks of the system. The referents outlive it.
struct HostServices {
  platform::native::LinuxMessagePorts& messagePorts;
  platform::DistributedNotificationCenter& notificationCenter;
  platform::FileManager& fileManager;
  ArchiveLister& archiveLister;
  GDBusConnection& bus;
  platform::Log& log;
  std::function<void(pid_t browser)> onGreeting;  ///< Runs at each ping, with the process that sent it.
};

class Host {
 public:
  /// `onEnd` runs once, from the main loop, when the host cannot go on, with the reason as a sentence.
  Host(HostOptions options, HostServices services, EventLines& lines, std::function<void(std::string reason)> onEnd);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  /// Closes the port, then gives the bus name up: whoever sees the name gone finds no port either.
  ~Host();

  /// Opens the port, then takes the bus name, then announces itself. The settings must be written by now. Once only.
  void start();

 private:
  bool openPort();
  void nameChanged(BusName::State state);
  void becomeOwner(unsigned attempt);
  void announce();

  void receive(platform::ByteView record, pid_t sender);
  void handle(const DTMessage& message, pid_t sender);
  void printMessage(const DTMessage& message);
  std::string entryMember(const platform::Object& argument);
  void openArchive(const DTMessage& message);

  HostOptions options_;
  HostServices services_;
  EventLines& lines_;
  std::function<void(std::string)> onEnd_;
  std::string portName_;
  std::shared_ptr<platform::LocalMessagePort> port_;
  SentTrees sentTrees_;
  std::unique_ptr<class ArchiveAnswers> answers_;
  std::unique_ptr<Predecessor> predecessor_;
  std::unique_ptr<BusName> name_;
  platform::native::MainLoopSource nextAttempt_;
  bool isReady_ = false;
};
