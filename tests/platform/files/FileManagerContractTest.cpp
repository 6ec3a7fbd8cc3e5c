// What every backend's file manager keeps to, over files in memory and over real ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/files/FileManager.h"
#include "tests/TemporaryFolder.h"

namespace {

using namespace platform;
using testing::UnorderedElementsAre;

class FilesInMemory {
 public:
  FileManager& fileManager() { return files_; }
  std::string path(const std::string& name) { return "/folder/" + name; }
  void makeFile(const std::string& name) { files_.add(path(name)); }
  void makeFolder(const std::string& name) { files_.add(path(name), fake::FakeKind::directory); }
  void makeLink(const std::string& name) { files_.add(path(name), fake::FakeKind::symbolicLink); }
  void remove(const std::string& name) { files_.remove(path(name)); }
  void rename(const std::string& from, const std::string& to) { files_.rename(path(from), path(to)); }

 private:
  fake::CallLog log_;
  fake::FakeFileManager files_{log_};
};

class FilesOnDisk {
 public:
  FileManager& fileManager() { return files_; }
  std::string path(const std::string& name) { return folder_.path() + "/" + name; }
  void makeFile(const std::string& name) { std::ofstream(path(name)) << name; }
  void makeFolder(const std::string& name) { std::filesystem::create_directories(path(name)); }
  void makeLink(const std::string& name) { std::filesystem::create_symlink("/nowhere", path(name)); }
  void remove(const std::string& name) { std::filesystem::remove_all(path(name)); }
  void rename(const std::string& from, const std::string& to) { std::filesystem::rename(path(from), path(to)); }

 private:
  tests::TemporaryFolder folder_;
  fake::CallLog log_;
  fake::FakeWorkspace workspace_{log_};
  native::LinuxFileManager files_{workspace_};
};

template <typename Files>
class FileManagerContract : public testing::Test {
 protected:
  URL url(const std::string& name) { return URL::fileURLWithPath(files.path(name)); }
  FileManager& manager() { return files.fileManager(); }
  bool flag(const URL& url, std::string_view key) {
    const Object value = manager().resourceValueForKey(url, key, nullptr);
    return value.get<bool>() && *value.get<bool>();
  }

  Files files;
};

using Backends = testing::Types<FilesInMemory, FilesOnDisk>;
TYPED_TEST_SUITE(FileManagerContract, Backends);

TYPED_TEST(FileManagerContract, anIdentityIsTheSameForEveryFormOfThePath) {
  this->files.makeFolder("a");
  const auto identity = this->manager().fileResourceIdentifier(this->url("a"));
  ASSERT_TRUE(identity);
  EXPECT_EQ(this->manager().fileResourceIdentifier(this->url("a/")), identity);
  EXPECT_EQ(this->manager().fileResourceIdentifier(this->url("/a")), identity);
  EXPECT_EQ(this->manager().fileResourceIdentifier(URL::URLWithString("file://" + this->files.path("%61/"))), identity);
}

TYPED_TEST(FileManagerContract, anIdentityIsTheDataOfItsProperty) {
  this->files.makeFile("a");
  const auto identity = this->manager().fileResourceIdentifier(this->url("a"));
  const Object value = this->manager().resourceValueForKey(this->url("a"), ResourceKey::fileResourceIdentifier, nullptr);
  ASSERT_TRUE(identity);
  ASSERT_TRUE(value.get<Data>());
  EXPECT_EQ(*value.get<Data>(), Data(identity->bytes().begin(), identity->bytes().end()));
}

TYPED_TEST(FileManagerContract, twoFilesHaveTwoIdentitiesAndAFileThatTookAPathHasANewOne) {
  this->files.makeFile("a");
  this->files.makeFile("b");
  const auto first = this->manager().fileResourceIdentifier(this->url("a"));
  const auto second = this->manager().fileResourceIdentifier(this->url("b"));
  EXPECT_NE(first, second);
  this->files.remove("a");
  this->files.rename("b", "a");
  EXPECT_EQ(this->manager().fileResourceIdentifier(this->url("a")), second);
}

TYPED_TEST(FileManagerContract, aMissingFileHasNoIdentityNoPropertiesAndNoIcon) {
  Error error;
  EXPECT_FALSE(this->manager().fileResourceIdentifier(this->url("missing")));
  EXPECT_TRUE(this->manager().resourceValueForKey(this->url("missing"), ResourceKey::isRegularFile, &error).isNil());
  EXPECT_EQ(error.domain, "NSPOSIXErrorDomain");
  EXPECT_EQ(error.code, ENOENT);
  ASSERT_TRUE(error.textForKey(LocalizedDescriptionKey));
  EXPECT_EQ(*error.textForKey(LocalizedDescriptionKey), "No such file or directory");
  EXPECT_EQ(this->manager().effectiveIcon(this->url("missing")), nullptr);
}

TYPED_TEST(FileManagerContract, aURLThatIsNoFileURLHasNothing) {
  const URL web = URL::URLWithString("https://example.org/" + this->files.path("a"));
  EXPECT_FALSE(this->manager().fileResourceIdentifier(web));
  EXPECT_TRUE(this->manager().resourceValueForKey(web, ResourceKey::isDirectory, nullptr).isNil());
  EXPECT_FALSE(this->manager().contentsOfDirectoryAtURL(web));
}

TYPED_TEST(FileManagerContract, aFileIsOfOneKind) {
  this->files.makeFile("file");
  this->files.makeFolder("folder");
  this->files.makeLink("link");
  EXPECT_TRUE(this->flag(this->url("file"), ResourceKey::isRegularFile));
  EXPECT_FALSE(this->flag(this->url("file"), ResourceKey::isDirectory));
  EXPECT_FALSE(this->flag(this->url("file"), ResourceKey::isAliasFile));
  EXPECT_TRUE(this->flag(this->url("folder"), ResourceKey::isDirectory));
  EXPECT_FALSE(this->flag(this->url("folder"), ResourceKey::isRegularFile));
  EXPECT_FALSE(this->flag(this->url("folder"), ResourceKey::isAliasFile));
  EXPECT_TRUE(this->flag(this->url("link"), ResourceKey::isSymbolicLink));
  EXPECT_TRUE(this->flag(this->url("link"), ResourceKey::isAliasFile));
  EXPECT_FALSE(this->flag(this->url("link"), ResourceKey::isRegularFile));
}

TYPED_TEST(FileManagerContract, aSightingIsTheIdentityAndWhetherTheFileIsRegular) {
  this->files.makeFile("file");
  this->files.makeFolder("folder");
  this->files.makeLink("link");
  for (const char* name : {"file", "folder", "link"}) {
    const auto sighting = this->manager().sightingOfFile(this->url(name));
    ASSERT_TRUE(sighting) << name;
    EXPECT_EQ(sighting->identity, this->manager().fileResourceIdentifier(this->url(name))) << name;
    EXPECT_EQ(sighting->isRegularFile, std::string_view(name) == "file") << name;
  }
  EXPECT_FALSE(this->manager().isAliasRegularFile(this->url("file")));
}

TYPED_TEST(FileManagerContract, whatIsMissingOrNoFileURLCannotBeSighted) {
  EXPECT_FALSE(this->manager().sightingOfFile(this->url("missing")));
  EXPECT_FALSE(this->manager().sightingOfFile(URL::URLWithString("http://example.org/file")));
}

TYPED_TEST(FileManagerContract, theParentIsTheFolderAboveAndTheRootFolderHasNone) {
  this->files.makeFile("a");
  const Object parent = this->manager().resourceValueForKey(this->url("a"), ResourceKey::parentDirectoryURL, nullptr);
  ASSERT_TRUE(parent.get<URL>());
  EXPECT_TRUE(parent.get<URL>()->isSameText(this->url("")));
  Error error;
  const URL root = URL::fileURLWithPath("/");
  EXPECT_TRUE(this->manager().resourceValueForKey(root, ResourceKey::parentDirectoryURL, &error).isNil());
  EXPECT_EQ(error.domain, "");
}

TYPED_TEST(FileManagerContract, aListingHoldsEachDirectEntryHiddenOnesIncluded) {
  this->files.makeFile("a");
  this->files.makeFile(".hidden");
  this->files.makeFolder("folder");
  this->files.makeFile("folder/inner");
  const auto entries = this->manager().contentsOfDirectoryAtURL(this->url(""));
  ASSERT_TRUE(entries);
  std::vector<std::string> paths;
  for (const URL& entry : *entries) paths.push_back(entry.path());
  EXPECT_THAT(paths, UnorderedElementsAre(this->files.path("a"), this->files.path(".hidden"), this->files.path("folder")));
}

TYPED_TEST(FileManagerContract, aFoldersEntriesAreSeenInTheOrderOfTheListing) {
  this->files.makeFile("a");
  this->files.makeFile(".hidden");
  this->files.makeFolder("folder");
  this->files.makeLink("link");
  const auto urls = this->manager().contentsOfDirectoryAtURL(this->url(""));
  ASSERT_TRUE(urls);
  ASSERT_EQ(urls->size(), 4u);
  std::size_t count = 0;
  this->manager().seeEntriesOfDirectoryAtURL(this->url(""), [&](const URL& entry, const platform::FileSighting& sighting) {
    ASSERT_LT(count, urls->size());
    EXPECT_EQ(entry.absoluteString(), (*urls)[count++].absoluteString());
    const auto asked = this->manager().sightingOfFile(entry);
    ASSERT_TRUE(asked);
    EXPECT_EQ(sighting.identity, asked->identity);
    EXPECT_EQ(sighting.isRegularFile, asked->isRegularFile);
  });
  EXPECT_EQ(count, 4u);
}

TYPED_TEST(FileManagerContract, anEntryThatVanishesWhileTheOthersAreSeenIsLeftOut) {
  this->files.makeFile("a");
  this->files.makeFile("b");
  std::size_t count = 0;
  this->manager().seeEntriesOfDirectoryAtURL(this->url(""), [&](const URL& entry, const platform::FileSighting&) {
    ++count;
    this->files.remove(entry.lastPathComponent() == "a" ? "b" : "a");
  });
  EXPECT_EQ(count, 1u);
}

TYPED_TEST(FileManagerContract, neitherAFileNorAMissingFolderCanBeListed) {
  this->files.makeFile("a");
  const auto fail = [](const URL&, const platform::FileSighting&) { FAIL(); };
  this->manager().seeEntriesOfDirectoryAtURL(this->url("a"), fail);
  this->manager().seeEntriesOfDirectoryAtURL(this->url("missing"), fail);
  EXPECT_FALSE(this->manager().contentsOfDirectoryAtURL(this->url("a")));
  EXPECT_FALSE(this->manager().contentsOfDirectoryAtURL(this->url("missing")));
}

TYPED_TEST(FileManagerContract, aBookmarkLeadsToItsFolderAlsoAfterARenameAndIsStaleThen) {
  this->files.makeFolder("before");
  Error error;
  bool isStale = false;
  const auto bookmark = this->manager().bookmarkDataWithURL(this->url("before"), &error);
  ASSERT_TRUE(bookmark);
  auto url = this->manager().URLByResolvingBookmarkData(*bookmark, BookmarkResolutionWithoutUI, &isStale, &error);
  ASSERT_TRUE(url);
  EXPECT_EQ(url->path(), this->files.path("before"));
  EXPECT_FALSE(isStale);
  this->files.rename("before", "after");
  url = this->manager().URLByResolvingBookmarkData(*bookmark, BookmarkResolutionWithoutUI, &isStale, &error);
  ASSERT_TRUE(url);
  EXPECT_EQ(url->path(), this->files.path("after"));
  EXPECT_TRUE(isStale);
}

TYPED_TEST(FileManagerContract, aBookmarkOfAMissingFileIsAnErrorOnMakingAndOnResolving) {
  Error error;
  EXPECT_FALSE(this->manager().bookmarkDataWithURL(this->url("missing"), &error));
  EXPECT_EQ(error.code, ENOENT);
  this->files.makeFolder("folder");
  const auto bookmark = this->manager().bookmarkDataWithURL(this->url("folder"), nullptr);
  ASSERT_TRUE(bookmark);
  this->files.remove("folder");
  bool isStale = false;
  error = {};
  EXPECT_FALSE(this->manager().URLByResolvingBookmarkData(*bookmark, BookmarkResolutionWithoutUI, &isStale, &error));
  EXPECT_EQ(error.code, ENOENT);
}

TYPED_TEST(FileManagerContract, aFileReferenceFollowsItsFolderUntilThatIsGone) {
  this->files.makeFolder("before");
  const auto identity = this->manager().fileResourceIdentifier(this->url("before"));
  const auto reference = this->manager().fileReferenceURL(this->url("before"));
  ASSERT_TRUE(reference);
  EXPECT_TRUE(reference->isFileReferenceURL());
  this->files.rename("before", "after");
  EXPECT_EQ(reference->path(), this->files.path("after"));
  EXPECT_EQ(this->manager().fileResourceIdentifier(*reference), identity);
  this->files.remove("after");
  EXPECT_EQ(reference->path(), "");
  EXPECT_FALSE(this->manager().fileResourceIdentifier(*reference));
}

TYPED_TEST(FileManagerContract, aMissingFileHasNoReference) {
  EXPECT_FALSE(this->manager().fileReferenceURL(this->url("missing")));
}

TYPED_TEST(FileManagerContract, aFileThatNobodyUsedHasNoLastUse) {
  this->files.makeFile("a");
  EXPECT_TRUE(this->manager().metadataItemAttribute(this->files.path("a"), MetadataItemLastUsedDate).isNil());
}

}  // namespace
