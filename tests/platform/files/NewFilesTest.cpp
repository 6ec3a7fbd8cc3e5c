// What is told of the files that come into watched folders, on a real file system.
#include "platform/linux/files/NewFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/MainLoopPump.h"
#include "tests/TemporaryFolder.h"

using platform::native::NewFiles;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

class NewFilesTest : public testing::Test {
 protected:
  NewFilesTest() {
    for (const char* folder : {"a", "b"}) fs::create_directories(at(folder));
    fs::create_directory_symlink(at("a"), at("link"));
  }

  std::string at(const std::string& path) const { return temporary.path() + "/" + path; }
  void write(const std::string& path) const { std::ofstream(at(path)) << "x"; }
  /// What has been told since, up to the mark.
  std::vector<std::string> told() {
    fs::create_directories(at("mark"));
    newFiles.watch(at("mark"));
    write("mark/end");
    EXPECT_TRUE(tests::pumpUntil([this] { return !paths.empty() && paths.back() == at("mark/end"); }));
    newFiles.end(at("mark"));
    if (!paths.empty()) paths.pop_back();
    return std::exchange(paths, {});
  }

  tests::TemporaryFolder temporary;
  std::vector<std::string> paths;
  NewFiles newFiles{[this](const std::string& path) { paths.push_back(path); }, [] {}};
};

TEST_F(NewFilesTest, aFileIsToldWhenItIsCompleteAndOnce) {
  newFiles.watch(at("a"));
  std::ofstream file(at("a/file"));
  file << "half" << std::flush;
  EXPECT_THAT(told(), ElementsAre());
  file << "whole";
  file.close();
  EXPECT_THAT(told(), ElementsAre(at("a/file")));
}

TEST_F(NewFilesTest, aFileThatIsMovedOrRenamedOrLinkedIntoAFolderIsTold) {
  for (const char* file : {"b/moved", "b/linked", "a/before"}) write(file);
  newFiles.watch(at("a"));
  fs::rename(at("b/moved"), at("a/moved"));
  fs::rename(at("a/before"), at("a/after"));
  fs::create_hard_link(at("b/linked"), at("a/linked"));
  EXPECT_THAT(told(), ElementsAre(at("a/moved"), at("a/after"), at("a/linked")));
}

TEST_F(NewFilesTest, foldersAndOtherFoldersFilesAreNotTold) {
  newFiles.watch(at("a"));
  fs::create_directory(at("a/sub"));
  write("a/sub/file");
  write("b/file");
  fs::rename(at("b"), at("a/b"));
  EXPECT_THAT(told(), ElementsAre());
}

TEST_F(NewFilesTest, aFolderIsWatchedUntilTheLastOfItsPathsEnds) {
  newFiles.watch(at("a"));
  newFiles.watch(at("link"));
  newFiles.watch(at("link"));
  write("a/first");
  EXPECT_THAT(told(), ElementsAre(at("link/first")));
  newFiles.end(at("link"));
  newFiles.end(at("link"));
  write("a/second");
  EXPECT_THAT(told(), ElementsAre(at("a/second")));
  newFiles.end(at("a"));
  write("a/third");
  EXPECT_THAT(told(), ElementsAre());
}

TEST_F(NewFilesTest, aFolderThatWasReplacedIsWatchedAnew) {
  newFiles.watch(at("a"));
  fs::rename(at("a"), at("old"));
  fs::create_directory(at("a"));
  newFiles.watch(at("a"));
  newFiles.end(at("a"));
  write("a/file");
  EXPECT_THAT(told(), ElementsAre(at("a/file")));
}

TEST_F(NewFilesTest, aFolderThatIsGoneOrNoneIsSilent) {
  write("a/file");
  newFiles.watch(at("gone"));
  newFiles.watch(at("a/file"));
  newFiles.watch(at("b"));
  fs::remove(at("b"));
  EXPECT_THAT(told(), ElementsAre());
  newFiles.end(at("b"));
  newFiles.end(at("gone"));
}

TEST_F(NewFilesTest, filesThatNobodyCanNameAreALoss) {
  int losses = 0;
  NewFiles full([](const std::string&) {}, [&] { ++losses; });
  full.watch(at("a"));
  // The queue takes so many events (inotify(7)); equal ones in a row are one.
  std::size_t limit = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> limit;
  write("a/one");
  for (std::size_t i = 0; i <= limit; ++i) {
    const bool isThere = i % 2 == 0;
    fs::rename(at(isThere ? "a/one" : "a/two"), at(isThere ? "a/two" : "a/one"));
  }
  EXPECT_TRUE(tests::pumpUntil([&] { return losses > 0; }));
}

}  // namespace
