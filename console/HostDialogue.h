// The part of an extension in a conversation with a host: a port of its own, messages to the host, and what the host sends back.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "archive/DTTreeNode.h"
#include "core/DTMessage.h"
#include "platform/FileIdentity.h"
#include "platform/MessagePort.h"

class HostDialogue {
 public:
  /// A `setArchive:` as it came.
  struct Answer {
    std::shared_ptr<const DTTreeNode> tree;
    platform::FileIdentity file;
  };

  /// Opens the own port; `isOpen` tells whether that went well. `ports` outlives the object.
  HostDialogue(platform::MessagePorts& ports, std::string ownPort, std::string hostPort);
  ~HostDialogue();
  HostDialogue(const HostDialogue&) = delete;

  bool isOpen() const { return port_ != nullptr; }
  const std::string& ownPort() const { return ownPort_; }

  /// True when the host has taken the record. Connects when no connection is there.
  bool send(DTMessage message);
  bool sendBytes(platform::ByteView record);
  /// Closes the connection to the host; the next send makes another.
  void hangUp() { host_.reset(); }

  const std::vector<Answer>& answers() const { return answers_; }
  /// The last answer about the file, or null.
  const Answer* answerAbout(const platform::FileIdentity& file) const;
  /// What came that is neither an answer nor nothing: each in a word.
  const std::vector<std::string>& oddities() const { return oddities_; }

  /// Runs the main loop until it is so, or for that long. True when it is so.
  static bool wait(const std::function<bool()>& isSo, std::chrono::milliseconds longest);

 private:
  void receive(platform::ByteView record);

  platform::MessagePorts& ports_;
  std::string ownPort_, hostPort_;
  std::shared_ptr<platform::LocalMessagePort> port_;
  std::unique_ptr<platform::RemoteMessagePort> host_;
  std::vector<Answer> answers_;
  std::vector<std::string> oddities_;
};
