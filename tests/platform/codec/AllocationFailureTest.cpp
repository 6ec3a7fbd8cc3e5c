// When memory runs out at any allocation of the codec, the archive is refused, nothing is thrown, nothing leaks; when there is none
// for a large record, the host hears that it could not be read. This program's operator new fails on demand.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <limits>
#include <new>

#include "tests/ExtensionFixture.h"

namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

std::size_t allocationsLeft = never;
std::size_t largestAllocation = never;
std::size_t blocks = 0;

void* allocated(std::size_t size) {
  if (allocationsLeft == 0 || size > largestAllocation) return nullptr;
  if (allocationsLeft != never) --allocationsLeft;
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block) ++blocks;
  return block;
}

void released(void* block) {
  if (block) --blocks;
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  if (void* block = allocated(size)) return block;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocated(size); }
void operator delete(void* block) noexcept { released(block); }
void operator delete(void* block, std::size_t) noexcept { released(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { released(block); }

namespace {

using platform::Array;
using platform::Data;
using platform::Integer;
using platform::Object;

DTTreeNode someTree() {
  DTTreeNode folder(DTArchiveEntry("a folder with a long name", true, 1, 0));
  for (std::uint64_t i = 2; i < 9; ++i) folder.appendChild(DTTreeNode(DTArchiveEntry("a file with a long name, too", false, i, i)));
  DTTreeNode root(DTArchiveEntry("archive.zip", false, 0, 0));
  root.appendChild(std::move(folder));
  return root;
}

Object message() {
  platform::Dictionary option;
  option.add("1", Array{"text that is too long for no allocation", Data(100), platform::URL::fileURLWithPath("/a"), 1.5,
                        platform::Set{{Integer::ofSigned(-1)}}, platform::IndexPath{{1, 2, 3}}});
  option.add("2", platform::Error{"a domain with quite a long name", 1, {}});
  option.add("3", std::shared_ptr<const platform::Coding>(std::make_shared<DTTreeNode>(someTree())));
  return std::shared_ptr<const platform::Coding>(std::make_shared<DTMessage>("setArchive:", option));
}

/// Does `work` with room for no allocation, then for one, and so on; it answers whether it could be done. The number of failures.
std::size_t failuresOf(const std::function<bool()>& work) {
  for (std::size_t room = 0;; ++room) {
    const std::size_t before = blocks;
    bool isDone = false;
    allocationsLeft = room;
    try {
      isDone = work();
    } catch (...) {
      allocationsLeft = never;
      ADD_FAILURE() << "something is thrown with room for " << room << " allocations";
      return room;
    }
    allocationsLeft = never;
    EXPECT_EQ(blocks, before) << "something leaks with room for " << room << " allocations";
    if (isDone) return room;
  }
}

TEST(WhenMemoryRunsOut, anArchiveIsRefusedAndNothingIsThrownOrLeaked) {
  const auto archive = platform::KeyedArchiver::archivedDataWithRootObject(message());
  ASSERT_TRUE(archive);
  const auto decodes = [&] { return !platform::KeyedUnarchiver::unarchiveObjectWithData(*archive, archivedClasses()).isNil(); };
  EXPECT_TRUE(decodes());
  EXPECT_GT(failuresOf(decodes), 20u);
}

TEST(WhenMemoryRunsOut, nothingIsWrittenAndNothingIsThrownOrLeaked) {
  const Object object = message();
  const auto encodes = [&] { return platform::KeyedArchiver::archivedDataWithRootObject(object).has_value(); };
  EXPECT_TRUE(encodes());
  EXPECT_GT(failuresOf(encodes), 20u);
}

TEST(WhenMemoryRunsOut, aQuestionIsNotWrittenAndNothingIsThrownOrLeaked) {
  const auto question = [](const char* path) { return DTMessage("openArchive:portName:", platform::URL::fileURLWithPath(path)); };
  const DTMessage first = question("/a"), second = question("/a file with a name that is longer");
  const auto writes = [&] {
    MessageWriter writer;
    return writer.archive(first) && writer.archive(second);
  };
  EXPECT_TRUE(writes());
  EXPECT_GT(failuresOf(writes), 20u);
}

class WhenMemoryIsShort : public ExtensionTest {};

TEST_F(WhenMemoryIsShort, aRecordThatFindsNoneIsReportedAsOneThatCannotBeRead) {
  startBoth();
  const Data record(std::size_t{4} << 20, 'x');
  largestAllocation = std::size_t{1} << 20;
  fakes.messagePorts.deliver("G.Sync.4711", record);
  largestAllocation = never;
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].selector(), "showError:");
  ASSERT_TRUE(messages[0].argument().get<platform::Error>());
  EXPECT_EQ(messages[0].argument().get<platform::Error>()->code, 2);
}

}  // namespace
