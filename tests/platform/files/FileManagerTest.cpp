// Files on Linux, on real files of every kind.
#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/files/DirectoryEntries.h"
#include "platform/linux/files/FileManager.h"
#include "platform/linux/files/FileStatus.h"
#include "platform/linux/files/Volume.h"
#include "tests/MainLoopPump.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/PeerProcess.h"

namespace {

using namespace platform;
using testing::ElementsAre;

class LinuxFiles : public testing::Test {
 protected:
  std::string path(const std::string& name) const { return folder.path() + "/" + name; }
  URL url(const std::string& name) const { return URL::fileURLWithPath(path(name)); }
  URL write(const std::string& name, std::string_view text = "") const {
    std::ofstream(path(name)) << text;
    return url(name);
  }
  Object value(const URL& url, std::string_view key) {
    error = {};
    return files.resourceValueForKey(url, key, &error);
  }
  bool flag(const URL& url, std::string_view key) {
    const Object found = value(url, key);
    EXPECT_TRUE(found.get<bool>()) << key;
    return found.get<bool>() && *found.get<bool>();
  }
  std::string text(const URL& url, std::string_view key) {
    const Object found = value(url, key);
    return found.get<std::string>() ? *found.get<std::string>() : "no text";
  }
  std::string parent(const std::string& path) {
    const Object found = value(URL::fileURLWithPath(path), ResourceKey::parentDirectoryURL);
    return found.get<URL>() ? found.get<URL>()->path() : "no parent";
  }
  void expectOnlyKind(const URL& url, std::string_view kind) {
    for (const auto key : {ResourceKey::isRegularFile, ResourceKey::isDirectory, ResourceKey::isSymbolicLink}) {
      EXPECT_EQ(flag(url, key), key == kind) << key;
    }
  }

  tests::TemporaryFolder folder;
  fake::CallLog calls;
  fake::FakeWorkspace workspace{calls};
  native::LinuxFileManager files{workspace, folder.path() + "/recently-used.xbel"};
  Error error;
};

TEST_F(LinuxFiles, anIdentityIsDeviceInodeAndBirthTimeWithTheHighestByteFirst) {
  const URL file = write("a");
  struct statx status;
  ASSERT_EQ(statx(AT_FDCWD, path("a").c_str(), AT_SYMLINK_NOFOLLOW, STATX_INO | STATX_BTIME, &status), 0);
  const auto identity = files.fileResourceIdentifier(file);
  ASSERT_TRUE(identity);
  ASSERT_EQ(identity->bytes().size(), 24u);
  const auto number = [&](std::size_t at) {
    std::uint64_t result = 0;
    for (const std::uint8_t byte : identity->bytes().subspan(at, 8)) result = result << 8 | byte;
    return result;
  };
  EXPECT_EQ(number(0), std::uint64_t{status.stx_dev_major} << 32 | status.stx_dev_minor);
  EXPECT_EQ(number(8), status.stx_ino);
  ASSERT_TRUE(status.stx_mask & STATX_BTIME);
  EXPECT_EQ(number(16), static_cast<std::uint64_t>(status.stx_btime.tv_sec) * 1000000000u + status.stx_btime.tv_nsec);
}

TEST_F(LinuxFiles, aFileSystemWithoutBirthTimesGivesAllOnesInTheirPlace) {
  const auto identity = files.fileResourceIdentifier(URL::fileURLWithPath("/proc/self/status"));
  ASSERT_TRUE(identity);
  EXPECT_THAT(identity->bytes().subspan(16), testing::Each(0xFF));
}

TEST_F(LinuxFiles, anIdentityIsTheSameThroughDotsDoubledSlashesAndALinkedParent) {
  std::filesystem::create_directories(path("real/inner"));
  std::filesystem::create_symlink("real", path("link"));
  const URL file = write("real/inner/a");
  const auto identity = files.fileResourceIdentifier(file);
  ASSERT_TRUE(identity);
  for (const char* form : {"real/inner/./a", "real/../real/inner/a", "real//inner///a", "link/inner/a", "link/inner/a/"}) {
    EXPECT_EQ(files.fileResourceIdentifier(url(form)), identity) << form;
  }
}

statx_timestamp birthTimeOf(const std::string& path) {
  struct statx status {};
  EXPECT_EQ(statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status), 0);
  return status.stx_btime;
}

TEST_F(LinuxFiles, anotherFileUnderTheSamePathHasAnotherIdentityEvenWithTheInodeNumberUsedAgain) {
  const URL file = write("a");
  const auto first = files.fileResourceIdentifier(file);
  const statx_timestamp birth = birthTimeOf(path("a"));
  // The clock of birth times moves on a few hundred times a second, so a file made at once may be born at the same time.
  EXPECT_TRUE(tests::pumpUntil([&] {
    std::filesystem::remove(path("a"));
    write("a");
    const statx_timestamp later = birthTimeOf(path("a"));
    return later.tv_sec != birth.tv_sec || later.tv_nsec != birth.tv_nsec;
  }));
  EXPECT_NE(files.fileResourceIdentifier(file), first);
}

TEST_F(LinuxFiles, aSymbolicLinkIsAskedItselfWhateverItLeadsTo) {
  const URL target = write("target");
  std::filesystem::create_symlink("target", path("link"));
  std::filesystem::create_symlink("loop", path("loop"));
  for (const char* name : {"link", "link/", "loop"}) expectOnlyKind(url(name), ResourceKey::isSymbolicLink);
  EXPECT_NE(files.fileResourceIdentifier(url("link")), files.fileResourceIdentifier(target));
  EXPECT_TRUE(files.fileResourceIdentifier(url("loop")));
  EXPECT_FALSE(files.fileResourceIdentifier(url("loop/a")));
  value(url("loop/a"), ResourceKey::isDirectory);
  EXPECT_EQ(error.code, ELOOP);
}

TEST_F(LinuxFiles, pipesSocketsAndDevicesAreNoneOfTheKinds) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  const int socketDescriptor = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path("socket").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(socketDescriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(socketDescriptor);
  expectOnlyKind(url("pipe"), "");
  expectOnlyKind(url("socket"), "");
  expectOnlyKind(URL::fileURLWithPath("/dev/null"), "");
  for (const URL& odd : {url("pipe"), url("socket"), URL::fileURLWithPath("/dev/null")}) {
    EXPECT_FALSE(flag(odd, ResourceKey::isAliasFile));
    EXPECT_FALSE(files.sightingOfFile(odd)->isRegularFile);
  }
}

TEST_F(LinuxFiles, aNameThatIsNotUTF8IsFoundListedAndShownWithTheReplacementCharacter) {
  const std::string name = "caf\xE9";
  const URL file = write(name);
  EXPECT_TRUE(flag(file, ResourceKey::isRegularFile));
  EXPECT_EQ(text(file, ResourceKey::name), "caf\uFFFD");
  const auto entries = files.contentsOfDirectoryAtURL(url(""));
  ASSERT_TRUE(entries);
  ASSERT_EQ(entries->size(), 1u);
  EXPECT_EQ(entries->front().path(), path(name));
  EXPECT_EQ(files.fileResourceIdentifier(entries->front()), files.fileResourceIdentifier(file));
  EXPECT_EQ(files.fileResourceIdentifier(URL::URLWithString(file.absoluteString())), files.fileResourceIdentifier(file));
}

TEST_F(LinuxFiles, theNameIsTheLastComponentAlsoWhereThePathEndsInDots) {
  std::filesystem::create_directories(path("outer/inner"));
  EXPECT_EQ(text(url("outer/inner/"), ResourceKey::name), "inner");
  EXPECT_EQ(text(url("outer/inner/.."), ResourceKey::name), "outer");
  EXPECT_EQ(text(url("outer/."), ResourceKey::localizedName), "outer");
  EXPECT_EQ(text(URL::fileURLWithPath("/"), ResourceKey::name), "/");
}

TEST_F(LinuxFiles, theParentIsTheFolderThatReallyHoldsTheFile) {
  std::filesystem::create_directories(path("real/inner"));
  std::filesystem::create_directory_symlink("real", path("link"));
  write("real/a");
  const std::string real = std::filesystem::canonical(folder.path()).string();
  EXPECT_EQ(parent(path("real/a")), path("real"));
  EXPECT_EQ(parent(path("real//a")), path("real"));
  EXPECT_EQ(parent(path("link/a")), real + "/real");
  EXPECT_EQ(parent(path("link")), folder.path());
  EXPECT_EQ(parent(path("real/inner/..")), real);
  EXPECT_EQ(parent(path("real/.")), real);
  EXPECT_EQ(parent("/tmp"), "/");
}

TEST_F(LinuxFiles, everyFormOfTheRootFolderHasNoParentAndThatIsNoError) {
  for (const char* form : {"/", "//", "/..", "/.", "/tmp/.."}) {
    EXPECT_EQ(parent(form), "no parent") << form;
    EXPECT_EQ(error.domain, "") << form;
  }
}

TEST_F(LinuxFiles, aVanishedFileHasNoParentEither) {
  EXPECT_EQ(parent(path("gone")), "no parent");
  EXPECT_EQ(error.code, ENOENT);
}

TEST_F(LinuxFiles, datesCountFromTheReferenceDate) {
  const URL file = write("a");
  const timespec times[] = {{978307200, 0}, {978307201, 500000000}};
  ASSERT_EQ(utimensat(AT_FDCWD, path("a").c_str(), times, 0), 0);
  const Object modified = value(file, ResourceKey::contentModificationDate);
  ASSERT_TRUE(modified.get<Date>());
  EXPECT_DOUBLE_EQ(modified.get<Date>()->secondsSinceReferenceDate, 1.5);
  struct stat status;
  ASSERT_EQ(stat(path("a").c_str(), &status), 0);
  const Object changed = value(file, ResourceKey::attributeModificationDate);
  ASSERT_TRUE(changed.get<Date>());
  EXPECT_NEAR(changed.get<Date>()->secondsSinceReferenceDate, static_cast<double>(status.st_ctim.tv_sec) - 978307200, 1);
  const Object created = value(file, ResourceKey::creationDate);
  ASSERT_TRUE(created.get<Date>());
  EXPECT_NEAR(created.get<Date>()->secondsSinceReferenceDate, changed.get<Date>()->secondsSinceReferenceDate, 60);
}

TEST_F(LinuxFiles, theDateOfBeingAddedIsAbsentWithoutAnError) {
  EXPECT_TRUE(value(write("a"), ResourceKey::addedToDirectoryDate).isNil());
  EXPECT_EQ(error.domain, "");
  EXPECT_TRUE(value(URL::fileURLWithPath("/proc/self/status"), ResourceKey::creationDate).isNil());
  EXPECT_EQ(error.domain, "");
  EXPECT_TRUE(value(url("a"), "NSURLNoSuchKey").isNil());
  EXPECT_EQ(error.domain, "");
}

// Sets the flag while it lives, or tells that the file system or the user may not.
class Immutable {
 public:
  explicit Immutable(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) { set(FS_IMMUTABLE_FL); }
  ~Immutable() { set(0); }
  bool isSet() const { return isSet_; }

 private:
  void set(int flag) {
    int flags = 0;
    if (ioctl(file_.get(), FS_IOC_GETFLAGS, &flags) != 0) return;
    flags = (flags & ~FS_IMMUTABLE_FL) | flag;
    isSet_ = ioctl(file_.get(), FS_IOC_SETFLAGS, &flags) == 0 && flag != 0;
  }

  native::Descriptor file_;
  bool isSet_ = false;
};

TEST_F(LinuxFiles, bothImmutableFlagsAreTheOneThatLinuxHas) {
  const URL file = write("a");
  EXPECT_FALSE(flag(file, ResourceKey::isUserImmutable));
  EXPECT_FALSE(flag(file, ResourceKey::isSystemImmutable));
  const Immutable immutable(path("a"));
  EXPECT_EQ(flag(file, ResourceKey::isUserImmutable), immutable.isSet());
  EXPECT_EQ(flag(file, ResourceKey::isSystemImmutable), immutable.isSet());
}

TEST_F(LinuxFiles, theVolumeOfAFileIsItsMountPoint) {
  const Object volume = value(URL::fileURLWithPath("/proc/self/status"), ResourceKey::volumeURL);
  ASSERT_TRUE(volume.get<URL>());
  EXPECT_EQ(volume.get<URL>()->path(), "/proc");
  const Object root = value(URL::fileURLWithPath("/"), ResourceKey::volumeURL);
  ASSERT_TRUE(root.get<URL>());
  EXPECT_EQ(root.get<URL>()->path(), "/");
  EXPECT_TRUE(flag(URL::fileURLWithPath("/"), ResourceKey::volumeIsRootFileSystem));
  EXPECT_FALSE(flag(URL::fileURLWithPath("/proc/self/status"), ResourceKey::volumeIsRootFileSystem));
}

TEST_F(LinuxFiles, aMountThatIsNotListedHasNoMountPoint) {
  EXPECT_FALSE(native::mountPoint(~std::uint64_t{0}));
  EXPECT_EQ(errno, ENODEV);
}

TEST_F(LinuxFiles, mountPointsAreReadWithTheirEscapes) {
  std::istringstream list(
      "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
      "damaged line\n"
      "36 35 98:0 /mnt1 /media/My\\040Disk\\134\\011x\\08 ro,noatime master:1 - ext3 /dev/root rw\n");
  EXPECT_EQ(native::mountPointIn(list, 36), "/media/My Disk\\\tx\\08");
  EXPECT_EQ(native::mountPointIn(list, 37), std::nullopt);
}

TEST_F(LinuxFiles, aVolumeThatCanBeWrittenToIsNotReadOnlyAndTellsNamesApartByCase) {
  const URL file = write("a");
  EXPECT_FALSE(flag(file, ResourceKey::volumeIsReadOnly));
  EXPECT_TRUE(flag(file, ResourceKey::volumeSupportsCaseSensitiveNames));
}

TEST_F(LinuxFiles, fileSystemsThatIgnoreCaseAreKnownByTheirMagicNumbers) {
  EXPECT_FALSE(native::isCaseSensitive(0x4D44));      // FAT
  EXPECT_FALSE(native::isCaseSensitive(0x2011BAB0));  // exFAT
  EXPECT_FALSE(native::isCaseSensitive(0xFE534D42));  // SMB 2
  EXPECT_TRUE(native::isCaseSensitive(0xEF53));       // ext4
}

TEST_F(LinuxFiles, factsOfALinksVolumeAreOfTheLinkItself) {
  std::filesystem::create_symlink("/proc/self", path("link"));
  const Object volume = value(url("link"), ResourceKey::volumeURL);
  const Object own = value(url(""), ResourceKey::volumeURL);
  ASSERT_TRUE(volume.get<URL>() && own.get<URL>());
  EXPECT_TRUE(volume.get<URL>()->isSameText(*own.get<URL>()));
  EXPECT_FALSE(flag(url("link"), ResourceKey::volumeIsReadOnly));
  std::filesystem::create_symlink("/nowhere", path("broken"));
  EXPECT_FALSE(flag(url("broken"), ResourceKey::volumeIsReadOnly));
}

TEST_F(LinuxFiles, aDesktopEntryOfTypeLinkIsAnAliasAndNoOtherFileWithSuchATextIs) {
  const std::string link = "[Desktop Entry]\nType=Link\nName=Site\nURL=https://example.org/\n";
  EXPECT_TRUE(flag(write("a.desktop", link), ResourceKey::isAliasFile));
  EXPECT_TRUE(files.isAliasRegularFile(url("a.desktop")));
  EXPECT_FALSE(flag(write("a.txt", link), ResourceKey::isAliasFile));
  EXPECT_FALSE(flag(write("b.desktop", "[Desktop Entry]\nType=Application\nName=A\n"), ResourceKey::isAliasFile));
  EXPECT_FALSE(flag(write("c.desktop", "[Other]\nType=Link\n"), ResourceKey::isAliasFile));
  EXPECT_FALSE(flag(write("d.desktop", std::string("\xFF\0[", 3)), ResourceKey::isAliasFile));
  EXPECT_FALSE(flag(write("e.desktop"), ResourceKey::isAliasFile));
  EXPECT_FALSE(flag(write("f.desktop", link + std::string(100'000, '#')), ResourceKey::isAliasFile));
  std::filesystem::create_directory(path("g.desktop"));
  EXPECT_FALSE(flag(url("g.desktop"), ResourceKey::isAliasFile));
  ASSERT_EQ(mkfifo(path("h.desktop").c_str(), 0600), 0);
  EXPECT_FALSE(flag(url("h.desktop"), ResourceKey::isAliasFile));
}

TEST_F(LinuxFiles, aListingFollowsAFinalLinkAndNamesEntriesByThePathAsked) {
  std::filesystem::create_directory(path("real"));
  std::filesystem::create_directory(path("real/folder"));
  std::filesystem::create_directory_symlink("real", path("link"));
  const auto entries = files.contentsOfDirectoryAtURL(url("link/"));
  ASSERT_TRUE(entries);
  ASSERT_EQ(entries->size(), 1u);
  EXPECT_EQ(entries->front().path(), path("link/folder"));
  EXPECT_TRUE(entries->front().absoluteString().ends_with("/link/folder/"));
}

TEST_F(LinuxFiles, aListingOfManyEntriesHoldsEachOnceInTheOrderOfTheSystem) {
  for (int i = 0; i < 1500; ++i) write("file-" + std::to_string(i) + std::string(i % 200, 'x'));
  std::vector<std::string> expected;
  DIR* const stream = opendir(folder.path().c_str());
  while (const dirent* entry = readdir(stream)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") expected.push_back(path(name));
  }
  closedir(stream);
  const auto entries = files.contentsOfDirectoryAtURL(url(""));
  ASSERT_TRUE(entries);
  std::vector<std::string> paths;
  for (const URL& entry : *entries) paths.push_back(entry.path());
  EXPECT_EQ(paths.size(), 1500u);
  EXPECT_EQ(paths, expected);
}

TEST_F(LinuxFiles, aFileThatVanishedSinceTheListingHasNoIdentity) {
  write("a");
  const auto entries = files.contentsOfDirectoryAtURL(url(""));
  std::filesystem::remove(path("a"));
  ASSERT_TRUE(entries);
  ASSERT_EQ(entries->size(), 1u);
  EXPECT_FALSE(files.fileResourceIdentifier(entries->front()));
}

TEST_F(LinuxFiles, anotherUsersLockedFolderIsNeitherListedNorEntered) {
  std::filesystem::create_directory(path("locked"));
  write("locked/a");
  chmod(folder.path().c_str(), 0755);
  chmod(path("locked").c_str(), 0);
  tests::PeerProcess stranger([&](const tests::PeerProcess::Line&) {
    if (geteuid() == 0 && setuid(65534) != 0) return 1;
    if (files.contentsOfDirectoryAtURL(url("locked"))) return 2;
    if (files.fileResourceIdentifier(url("locked/a"))) return 3;
    if (!files.fileResourceIdentifier(url("locked"))) return 4;
    value(url("locked/a"), ResourceKey::isRegularFile);
    return error.code == EACCES ? 0 : 5;
  });
  EXPECT_EQ(stranger.wait(), 0);
  chmod(path("locked").c_str(), 0700);
}

TEST_F(LinuxFiles, pathsUpToTheSystemsLimitWorkAndLongerOnesFailCleanly) {
  const std::string name(250, 'd');
  std::string deep = folder.path();
  while (deep.size() + 1 + name.size() < PATH_MAX - 1) {
    deep += "/" + name;
    ASSERT_EQ(mkdir(deep.c_str(), 0700), 0);
  }
  const std::string last = deep + "/" + std::string(PATH_MAX - 2 - deep.size(), 'f');
  std::ofstream(last) << "x";
  const URL file = URL::fileURLWithPath(last);
  ASSERT_EQ(last.size(), PATH_MAX - 1u);
  EXPECT_TRUE(files.fileResourceIdentifier(file));
  EXPECT_EQ(parent(last), deep);
  const auto entries = files.contentsOfDirectoryAtURL(URL::fileURLWithPath(deep));
  ASSERT_TRUE(entries);
  EXPECT_EQ(entries->size(), 1u);
  const auto bookmark = files.bookmarkDataWithURL(file, &error);
  ASSERT_TRUE(bookmark);
  bool isStale = true;
  const auto resolved = files.URLByResolvingBookmarkData(*bookmark, 0, &isStale, &error);
  ASSERT_TRUE(resolved);
  EXPECT_EQ(resolved->path(), last);
  EXPECT_TRUE(value(URL::fileURLWithPath(last + "x"), ResourceKey::isRegularFile).isNil());
  EXPECT_EQ(error.code, ENAMETOOLONG);
  EXPECT_FALSE(files.fileReferenceURL(URL::fileURLWithPath(last + "x")));
}

TEST_F(LinuxFiles, aURLWhosePathIsEmptyIsAMissingFile) {
  for (const char* text : {"file://elsewhere/etc/passwd", "file:///etc/passwd%00", "file:"}) {
    const URL odd = URL::URLWithString(text);
    EXPECT_FALSE(files.fileResourceIdentifier(odd)) << text;
    EXPECT_TRUE(value(odd, ResourceKey::isRegularFile).isNil()) << text;
    EXPECT_EQ(error.code, ENOENT) << text;
  }
}

TEST_F(LinuxFiles, theIconIsTheFoldersOrThatOfTheNamesExtension) {
  std::filesystem::create_directory(path("folder.zip"));
  std::filesystem::create_directory_symlink("folder.zip", path("link.txt"));
  for (const char* name : {"folder.zip", "link.txt"}) {
    calls.take();
    EXPECT_TRUE(files.effectiveIcon(url(name)));
    EXPECT_THAT(calls.take(), ElementsAre(testing::HasSubstr("NSFolder"))) << name;
  }
  write("a.tar.gz");
  files.effectiveIcon(url("a.tar.gz"));
  EXPECT_THAT(calls.take(), ElementsAre(testing::HasSubstr("\"gz\"")));
  write(".bashrc");
  files.effectiveIcon(url(".bashrc"));
  EXPECT_THAT(calls.take(), ElementsAre(testing::HasSubstr("\"\"")));
}

constexpr char recentlyUsed[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<xbel version="1.0"
      xmlns:bookmark="http://www.freedesktop.org/standards/desktop-bookmarks"
      xmlns:mime="http://www.freedesktop.org/standards/shared-mime-info">
  <bookmark href="file:///home/u/a%20b(1).zip" added="2024-01-01T00:00:00Z" modified="2024-01-01T00:00:00Z" visited="2001-01-01T00:01:40Z"/>
  <bookmark href="https://example.org/" added="2024-01-01T00:00:00Z" modified="2024-01-01T00:00:00Z" visited="2024-01-01T00:00:00Z"/>
</xbel>)";

TEST_F(LinuxFiles, theLastUseIsTheVisitInTheDesktopsListHoweverTheNameIsEscapedThere) {
  write("recently-used.xbel", recentlyUsed);
  const Object used = files.metadataItemAttribute("/home/u/a b(1).zip", MetadataItemLastUsedDate);
  ASSERT_TRUE(used.get<Date>());
  EXPECT_EQ(used.get<Date>()->secondsSinceReferenceDate, 100);
  EXPECT_TRUE(files.metadataItemAttribute("/home/u/other.zip", MetadataItemLastUsedDate).isNil());
  EXPECT_TRUE(files.metadataItemAttribute("/home/u/a b(1).zip", "kMDItemOther").isNil());
}

TEST_F(LinuxFiles, aDamagedOrEndlessListOfRecentFilesHasNoLastUse) {
  for (const std::string& text : {std::string(), std::string("<xbel"), std::string("\xFF\xFE\0", 3),
                                  std::string(recentlyUsed) + std::string(9'000'000, ' ')}) {
    write("recently-used.xbel", text);
    EXPECT_TRUE(files.metadataItemAttribute("/home/u/a b(1).zip", MetadataItemLastUsedDate).isNil()) << text.size();
  }
}

// While it lives the process can open nothing more.
class NoDescriptors {
 public:
  NoDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit none = before_;
    none.rlim_cur = 0;
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_;
};

TEST_F(LinuxFiles, withoutADescriptorLeftFactsAreReadAllTheSameAndTheRestSaysWhy) {
  const URL file = write("a");
  const auto ask = [&](bool hasDescriptors) {
    EXPECT_TRUE(files.fileResourceIdentifier(file));
    EXPECT_TRUE(flag(file, ResourceKey::isRegularFile));
    EXPECT_EQ(files.contentsOfDirectoryAtURL(url("")).has_value(), hasDescriptors);
    EXPECT_EQ(files.fileReferenceURL(file).has_value(), hasDescriptors);
    for (const auto key : {ResourceKey::volumeIsReadOnly, ResourceKey::volumeURL}) {
      EXPECT_EQ(value(file, key).isNil(), !hasDescriptors) << key;
      EXPECT_EQ(error.code, hasDescriptors ? 0 : EMFILE) << key;
    }
  };
  ask(true);
  {
    const NoDescriptors limit;
    ask(false);
  }
  ask(true);
}

}  // namespace
