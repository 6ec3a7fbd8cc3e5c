#include "archive/ArchivedClasses.h"

#include <array>

#include "archive/DTArchiveEntry.h"
#include "archive/DTTreeNode.h"
#include "core/DTMessage.h"

platform::ClassTable archivedClasses() {
  static constexpr std::array<platform::ArchivedClass, 3> classes{{
      {DTTreeNode::className, &DTTreeNode::initWithCoder},
      {DTArchiveEntry::className, &DTArchiveEntry::initWithCoder},
      {DTMessage::className, &DTMessage::initWithCoder},
  }};
  return classes;
}
