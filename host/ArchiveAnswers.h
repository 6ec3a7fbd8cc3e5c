// The host's side of `openArchive:portName:`: lists the file and sends its tree to the port of whoever asked.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "host/ArchiveLister.h"
#include "host/EntryTree.h"
#include "host/EventLines.h"
#include "host/SentTrees.h"
#include "platform/FileIdentity.h"
#include "platform/FileManager.h"
#include "platform/MessagePort.h"
#include "platform/URL.h"

class ArchiveAnswers {
 public:
  /// `ownPortName` is stamped into each answer. All referents outlive this object, except that the lister may go first.
  ArchiveAnswers(platform::MessagePorts& ports, platform::FileManager& files, ArchiveLister& lister, SentTrees& sentTrees,
                 EventLines& lines, std::string ownPortName);

  /// Sends `setArchive:` to the port once the file is listed, if it is an archive and still the same file then. Each
  /// request ends in one line: "answered", with the send's status, or "unanswered", with the reason.
  void answer(const platform::URL& file, const std::string& portName);

 private:
  struct Request {
    platform::URL file;
    platform::FileIdentity identity;
    std::string portName;
  };

  void finish(const Request& request, const std::optional<Listing>& listing);
  void sendTree(const Request& request, const EntryTree& tree);
  platform::MessagePortStatus send(const std::string& portName, platform::ByteView record);
  platform::RemoteMessagePort* port(const std::string& name);
  void printUnanswered(const platform::URL& file, std::string_view reason);

  platform::MessagePorts& ports_;
  platform::FileManager& files_;
  ArchiveLister& lister_;
  SentTrees& sentTrees_;
  EventLines& lines_;
  const std::string ownPortName_;
  std::map<std::string, std::unique_ptr<platform::RemoteMessagePort>> openPorts_;
};
