// Bookmarks and file references on real folders that move about.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

#include "platform/linux/files/Bookmark.h"
#include "platform/linux/files/FileReference.h"
#include "platform/linux/files/FileStatus.h"
#include "tests/TemporaryFolder.h"

namespace {

using namespace platform;
using namespace platform::native;

class Bookmarks : public testing::Test {
 protected:
  std::string path(const std::string& name) const { return root + "/" + name; }
  void makeFolder(const std::string& name) const { std::filesystem::create_directories(path(name)); }
  void move(const std::string& from, const std::string& to) const { std::filesystem::rename(path(from), path(to)); }
  Data bookmark(const std::string& name) {
    const auto data = bookmarkOfFile(path(name));
    EXPECT_TRUE(data) << name;
    return data ? *data : Data();
  }
  /// The path that it resolves to, below the test's folder, with " (stale)" where it is; or the error's
  /// number.
  std::string resolved(const Data& data) {
    const auto found = resolveBookmark(data);
    if (!found) return "error " + std::to_string(found.reason());
    const std::string shown = found->path.starts_with(root + "/") ? found->path.substr(root.size() + 1) : found->path;
    return shown + (found->isStale ? " (stale)" : "");
  }
  std::string error(int code) const { return "error " + std::to_string(code); }

  tests::TemporaryFolder folder;
  std::string root = std::filesystem::canonical(folder.path()).string();
};

TEST_F(Bookmarks, aFolderInItsPlaceIsNotStale) {
  makeFolder("a/b");
  EXPECT_EQ(resolved(bookmark("a/b")), "a/b");
}

TEST_F(Bookmarks, theBytesAreTheDocumentedOnes) {
  makeFolder("a");
  const Data data = bookmark("a");
  const std::string real = path("a");
  ASSERT_EQ(data.size(), 32 + real.size() + 4);
  EXPECT_EQ(std::string(data.begin(), data.begin() + 6), std::string("DTBM\1\1"));
  EXPECT_EQ(data[6] << 8 | data[7], static_cast<int>(real.size()));
  const FileIdentity identity = FileStatus::ofPath(real.c_str())->identity();
  EXPECT_EQ(Data(data.begin() + 8, data.begin() + 32), Data(identity.bytes().begin(), identity.bytes().end()));
  EXPECT_EQ(std::string(data.begin() + 32, data.end() - 4), real);
}

TEST_F(Bookmarks, theChecksumIsTheUsualCRC32) {
  // Of a bookmark made by hand: Python's zlib.crc32 of the first 33 bytes.
  Data data = {'D', 'T', 'B', 'M', 1, 1, 0, 1};
  data.insert(data.end(), 24, 0);
  data.push_back('/');
  for (const std::uint8_t byte : {0xB8, 0x33, 0x65, 0x9B}) data.push_back(byte);
  EXPECT_EQ(resolved(data), "/ (stale)");
}

// Runs the examples of the document for hosts' authors, then `statement`, whose output is the result.
std::string outputOfDocumentedPython(const std::string& statement) {
  // Written without a backtick, which the shell would take for its own.
  const std::string program =
      "import re; exec('\\n'.join(re.findall(r'\\x60{3}python\\n(.*?)\\x60{3}', open('" DOVETAIL_HOST_DOCUMENT
      "').read(), re.S))); " +
      statement;
  FILE* const pipe = popen(("python3 -c \"" + program + "\"").c_str(), "r");
  std::string output;
  for (int c = 0; (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
  pclose(pipe);
  return output;
}

TEST_F(Bookmarks, thePythonInTheDocumentMakesTheSameBytes) {
  makeFolder("real/caf\u00E9");
  std::filesystem::create_directory_symlink("real", path("link"));
  for (const char* name : {"real/caf\u00E9", "link/caf\u00E9", "link"}) {
    std::string expected;
    for (const int byte : bookmark(name)) {
      constexpr char digits[] = "0123456789abcdef";
      (expected += digits[byte >> 4]) += digits[byte & 15];
    }
    EXPECT_EQ(outputOfDocumentedPython("print(bookmark('" + path(name) + "').hex())"), expected + "\n");
  }
}

TEST_F(Bookmarks, aFolderRenamedOrMovedNearbyIsFoundAndStale) {
  makeFolder("work/project/folder");
  const Data data = bookmark("work/project/folder");
  move("work/project/folder", "work/project/renamed");
  EXPECT_EQ(resolved(data), "work/project/renamed (stale)");
  makeFolder("work/other");
  move("work/project/renamed", "work/other/moved");
  EXPECT_EQ(resolved(data), "work/other/moved (stale)");
  move("work/other/moved", "moved");
  EXPECT_EQ(resolved(data), "moved (stale)");
}

TEST_F(Bookmarks, aFolderWhoseParentWasRenamedIsFound) {
  makeFolder("work/project/folder");
  const Data data = bookmark("work/project/folder");
  move("work/project", "work/renamed");
  EXPECT_EQ(resolved(data), "work/renamed/folder (stale)");
}

TEST_F(Bookmarks, theFolderItselfGoesBeforeAnotherThatTookItsPath) {
  makeFolder("a");
  const Data data = bookmark("a");
  move("a", "b");
  makeFolder("a");
  EXPECT_EQ(resolved(data), "b (stale)");
}

TEST_F(Bookmarks, aFolderMadeAnewAtThePathIsTakenAndStale) {
  makeFolder("a");
  makeFolder("new");
  const Data data = bookmark("a");
  std::filesystem::remove(path("a"));
  move("new", "a");
  EXPECT_EQ(resolved(data), "a (stale)");
}

TEST_F(Bookmarks, aFileThatTookTheFoldersPathIsNotTaken) {
  makeFolder("a");
  const Data data = bookmark("a");
  std::filesystem::remove(path("a"));
  std::ofstream(path("a")) << "x";
  EXPECT_EQ(resolved(data), error(ENOENT));
}

TEST_F(Bookmarks, aFolderThatIsGoneIsAnError) {
  makeFolder("a/b/c");
  const Data data = bookmark("a/b/c");
  std::filesystem::remove_all(path("a"));
  EXPECT_EQ(resolved(data), error(ENOENT));
}

TEST_F(Bookmarks, theSearchEndsAfterSoManyEntries) {
  makeFolder("a/folder");
  makeFolder("b");
  const Data data = bookmark("a/folder");
  move("a/folder", "b/folder");
  EXPECT_EQ(resolved(data), "b/folder (stale)");
  for (int i = 0; i < 20'000; ++i) std::ofstream(path("a/" + std::to_string(i)));
  EXPECT_EQ(resolved(data), error(ENOENT));
}

TEST_F(Bookmarks, theSearchFollowsNoSymbolicLink) {
  makeFolder("a/folder");
  makeFolder("far/1/2/3/4");
  std::filesystem::create_directory_symlink(path("far/1/2/3/4"), path("a/link"));
  const Data data = bookmark("a/folder");
  move("a/folder", "far/1/2/3/4/folder");
  EXPECT_EQ(resolved(data), error(ENOENT));
}

TEST_F(Bookmarks, theRealPathIsKept) {
  makeFolder("real/folder");
  std::filesystem::create_directory_symlink("real", path("link"));
  EXPECT_EQ(resolved(bookmark("link/folder")), "real/folder");
  EXPECT_EQ(resolved(bookmark("real/folder/..")), "real");
  EXPECT_EQ(resolved(bookmark("link")), "link");
  const auto ofRoot = bookmarkOfFile("/");
  ASSERT_TRUE(ofRoot);
  EXPECT_EQ(resolved(*ofRoot), "/");
}

TEST_F(Bookmarks, aNameThatIsNotUTF8IsKept) {
  makeFolder("caf\xE9");
  EXPECT_EQ(resolved(bookmark("caf\xE9")), "caf\xE9");
}

TEST_F(Bookmarks, anyDamageIsAnError) {
  makeFolder("a");
  const Data whole = bookmark("a");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(resolved(Data(whole.begin(), whole.begin() + length)), error(EINVAL)) << length;
  }
  for (std::size_t bit = 0; bit < 8 * whole.size(); ++bit) {
    Data damaged = whole;
    damaged[bit / 8] ^= 1 << bit % 8;
    EXPECT_EQ(resolved(damaged), error(EINVAL)) << bit;
  }
  Data longer = whole;
  longer.push_back(0);
  EXPECT_EQ(resolved(longer), error(EINVAL));
}

TEST_F(Bookmarks, arbitraryBytesAreAnError) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    Data data = {'D', 'T', 'B', 'M', 1};
    data.resize(random() % 2 ? 5 : 0);
    for (std::size_t left = random() % 100; left > 0; --left) data.push_back(static_cast<std::uint8_t>(random()));
    EXPECT_EQ(resolved(data), error(EINVAL));
  }
}

class FileReferences : public Bookmarks {
 protected:
  std::shared_ptr<const LinuxFileReference> reference(const std::string& name) const {
    auto made = LinuxFileReference::ofPath(path(name));
    EXPECT_TRUE(made);
    return made;
  }
};

TEST_F(FileReferences, aFolderIsFollowedAnyDistanceAlsoWhenAFolderAboveMoves) {
  makeFolder("a/b/folder");
  makeFolder("x/y");
  const auto held = reference("a/b/folder");
  EXPECT_EQ(held->path(), path("a/b/folder"));
  move("a/b/folder", "x/y/moved");
  EXPECT_EQ(held->path(), path("x/y/moved"));
  move("x", "z");
  EXPECT_EQ(held->path(), path("z/y/moved"));
}

TEST_F(FileReferences, aDeletedFolderHasNoPathEvenWhereAnotherBearsTheNameThatTheSystemShows) {
  makeFolder("a");
  const auto held = reference("a");
  std::filesystem::remove(path("a"));
  EXPECT_EQ(held->path(), "");
  makeFolder("a (deleted)");
  EXPECT_EQ(held->path(), "");
  makeFolder("a");
  EXPECT_EQ(held->path(), "");
}

TEST_F(FileReferences, aNameThatEndsLikeADeletedOneIsANameLikeAnother) {
  makeFolder("a (deleted)");
  const auto held = reference("a (deleted)");
  EXPECT_EQ(held->path(), path("a (deleted)"));
  std::filesystem::remove(path("a (deleted)"));
  EXPECT_EQ(held->path(), "");
}

TEST_F(FileReferences, aSymbolicLinkIsHeldItself) {
  makeFolder("target");
  std::filesystem::create_directory_symlink("target", path("link"));
  EXPECT_EQ(reference("link")->path(), path("link"));
}

TEST_F(FileReferences, theDescriptorIsGivenBackWithTheLastReference) {
  makeFolder("a");
  const auto openCount = [] {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
  };
  const auto before = openCount();
  {
    const URL url = URL::fileURLWithReference(reference("a"));
    const URL copy = url;
    EXPECT_EQ(openCount(), before + 1);
  }
  EXPECT_EQ(openCount(), before);
}

}  // namespace
