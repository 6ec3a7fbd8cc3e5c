#include "host/ArchiveLister.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "tests/MainLoopPump.h"
#include "tests/TemporaryFolder.h"
#include "tests/host/ArchiveFile.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LineLog final : public platform::Log {
 public:
  void line(std::string_view text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;
};

/// "path size", a folder's path with a slash; nothing for no archive.
using Lines = std::optional<std::vector<std::string>>;

Lines linesOf(const std::optional<Listing>& listing) {
  if (!listing) return std::nullopt;
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < listing->count(); ++i) {
    const Listing::Entry entry = listing->entry(i);
    std::string line(entry.path);
    if (entry.isFolder && !line.ends_with('/')) line += '/';
    lines.push_back(line + " " + std::to_string(entry.size));
  }
  return lines;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class ArchiveListing : public testing::Test {
 protected:
  static ArchiveLister::Options options() {
    ArchiveLister::Options options;
    options.childProgram = DOVETAIL_HOST;
    options.limits.time = std::chrono::minutes(2);  // a busy machine is no hostile archive
    return options;
  }

  std::optional<Listing> listed(const std::string& path, const ArchiveLister::Options& how = options()) {
    ArchiveLister lister(how, log);
    bool isDone = false;
    std::optional<Listing> result;
    lister.list(path, [&](std::optional<Listing> listing) {
      result = std::move(listing);
      isDone = true;
    });
    EXPECT_TRUE(tests::pumpUntil([&] { return isDone; }, std::chrono::seconds(60)));
    return result;
  }
  Lines lines(const std::string& path, const ArchiveLister::Options& how = options()) { return linesOf(listed(path, how)); }

  /// The lines of an archive with these entries, written so.
  Lines written(const WrittenAs& how, const std::vector<WrittenEntry>& entries) {
    ArchiveFile::write(folder.path("archive"), how, entries);
    return lines(folder.path("archive"));
  }
  /// Runs a Python program whose `path` is where the archive goes.
  std::string python(const std::string& program) {
    const std::string script = folder.file("make.py", "path = " + std::string("'") + folder.path("made") + "'\n" + program);
    EXPECT_EQ(std::system(("python3 " + script).c_str()), 0);
    return folder.path("made");
  }

  tests::TemporaryFolder folder;
  LineLog log;
};

const std::vector<WrittenEntry> threeEntries{{"docs/"}, {"docs/a b.txt", "hello"}, {"last"}};
const auto threeLines = ElementsAre("docs/ 0", "docs/a b.txt 5", "last 0");

TEST_F(ArchiveListing, eachFormatIsKnownByContent) {
  const std::map<std::string, int> formats{{"pax", ARCHIVE_FORMAT_TAR_PAX_INTERCHANGE}, {"ustar", ARCHIVE_FORMAT_TAR_USTAR},
                                           {"gnutar", ARCHIVE_FORMAT_TAR_GNUTAR},       {"zip", ARCHIVE_FORMAT_ZIP},
                                           {"cpio", ARCHIVE_FORMAT_CPIO_SVR4_NOCRC},    {"odc", ARCHIVE_FORMAT_CPIO_POSIX},
                                           {"binary cpio", ARCHIVE_FORMAT_CPIO_BIN_LE}, {"xar", ARCHIVE_FORMAT_XAR}};
  for (const auto& [name, format] : formats) {
    const Lines found = written({.format = format}, threeEntries);
    ASSERT_TRUE(found) << name;
    EXPECT_THAT(*found, threeLines) << name;
  }
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(ArchiveListing, sevenZipAndDiscImagesAreListedInTheirOwnOrder) {
  for (const int format : {ARCHIVE_FORMAT_7ZIP, ARCHIVE_FORMAT_ISO9660}) {
    const Lines found = written({.format = format}, threeEntries);
    ASSERT_TRUE(found);
    EXPECT_THAT(*found, testing::IsSupersetOf({"docs/ 0", "docs/a b.txt 5", "last 0"}));
  }
}

TEST_F(ArchiveListing, aLibraryOfObjectFilesIsAnArchive) {
  EXPECT_THAT(*written({.format = ARCHIVE_FORMAT_AR_GNU}, {{"one.o", "12"}}), ElementsAre("one.o 2"));
}

TEST_F(ArchiveListing, compressedTarsAreListedForEachCompression) {
  for (const int filter : {ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_BZIP2, ARCHIVE_FILTER_XZ, ARCHIVE_FILTER_COMPRESS,
                           ARCHIVE_FILTER_LZMA, ARCHIVE_FILTER_LZIP, ARCHIVE_FILTER_ZSTD, ARCHIVE_FILTER_LZ4}) {
    const Lines found = written({.filter = filter}, threeEntries);
    ASSERT_TRUE(found) << "filter " << filter;
    EXPECT_THAT(*found, threeLines) << "filter " << filter;
  }
}

TEST_F(ArchiveListing, aCompressedFileThatHoldsNoArchiveIsNone) {
  for (const char* module : {"gzip", "bz2", "lzma"})
    EXPECT_FALSE(lines(python(std::string("import ") + module + "\n" + module + ".open(path, 'wb').write(b'words ' * 500)")));
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(ArchiveListing, emptyArchivesAreArchives) {
  for (const int format :
       {ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FORMAT_ZIP, ARCHIVE_FORMAT_7ZIP, ARCHIVE_FORMAT_CPIO_SVR4_NOCRC}) {
    const Lines found = written({.format = format}, {});
    ASSERT_TRUE(found) << "format " << format;
    EXPECT_THAT(*found, IsEmpty());
  }
  EXPECT_TRUE(written({.filter = ARCHIVE_FILTER_GZIP}, {}));
  EXPECT_TRUE(lines(python("import tarfile; tarfile.open(path, 'w').close()")));
  EXPECT_TRUE(lines(python("import zipfile; zipfile.ZipFile(path, 'w').close()")));
}

TEST_F(ArchiveListing, aFileThatOnlyBeginsWithZerosIsNoEmptyTar) {
  EXPECT_FALSE(lines(folder.file("image", std::string(4096, '\0') + "a file system")));
  EXPECT_FALSE(lines(folder.file("sparse", std::string(2 * 1024 * 1024, '\0'))));
  EXPECT_FALSE(lines(folder.file("short", std::string(512, '\0'))));
  EXPECT_TRUE(lines(folder.file("tar", std::string(1024, '\0'))));
}

TEST_F(ArchiveListing, ordinaryFilesAreNoArchives) {
  EXPECT_FALSE(lines(folder.file("empty", "")));
  EXPECT_FALSE(lines(folder.file("text.zip", "not an archive, whatever its name\n")));
  EXPECT_FALSE(lines(folder.file("list", "#mtree\n. type=dir\n  a type=file size=3\n")));
  EXPECT_FALSE(lines("/bin/sh"));
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(ArchiveListing, onlyRegularFilesAreRead) {
  const std::string archive = folder.path("archive.tar");
  ArchiveFile::write(archive, {}, threeEntries);
  std::filesystem::create_symlink(archive, folder.path("link.tar"));
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  EXPECT_FALSE(lines(folder.path("link.tar")));
  EXPECT_FALSE(lines(folder.path("fifo")));
  EXPECT_FALSE(lines(folder.path()));
  EXPECT_FALSE(lines(folder.path("nowhere")));
  EXPECT_FALSE(lines("/dev/zero"));
}

TEST_F(ArchiveListing, linksAreEntriesWithoutASize) {
  EXPECT_THAT(*written({}, {{"file", "12345"}, {"soft", "", "file", ""}, {"hard", "", "", "file"}}),
              ElementsAre("file 5", "soft 0", "hard 0"));
}

TEST_F(ArchiveListing, pathsComeAsTheyStandInTheArchive) {
  EXPECT_THAT(*lines(python(R"(
import tarfile
with tarfile.open(path, 'w') as tar:
    for name in ['/etc/passwd', './a', 'b//c', '../up', 'd/../e', 'a', 'a']:
        tar.addfile(tarfile.TarInfo(name))
)")),
              ElementsAre("/etc/passwd 0", "./a 0", "b//c 0", "../up 0", "d/../e 0", "a 0", "a 0"));
}

TEST_F(ArchiveListing, namesThatAreNotUTF8ComeAsTheirBytes) {
  EXPECT_THAT(*lines(python(R"(
import tarfile
with tarfile.open(path, 'w', format=tarfile.USTAR_FORMAT, encoding='latin-1') as tar:
    tar.addfile(tarfile.TarInfo('caf\xe9'))
)")),
              ElementsAre("caf\xE9 0"));
}

TEST_F(ArchiveListing, zipNamesAreUTF8WhereTheArchiveSaysSoAndTheirBytesElsewhere) {
  EXPECT_THAT(*lines(python(R"(
import zipfile
class Latin(zipfile.ZipInfo):
    def _encodeFilenameFlags(self):
        return self.filename.encode('latin-1'), self.flag_bits
with zipfile.ZipFile(path, 'w') as archive:
    archive.writestr(zipfile.ZipInfo('日本.txt'), 'x')
    archive.writestr(Latin('caf\xe9.txt'), 'xy')
)")),
              ElementsAre("日本.txt 1", "caf\xE9.txt 2"));
}

// A class of Python's whose entries claim UTF-8 for bytes that are not.
const std::string lying = R"(
import zipfile
class Lying(zipfile.ZipInfo):
    def _encodeFilenameFlags(self):
        return self.filename.encode('latin-1'), self.flag_bits | 0x800
)";

TEST_F(ArchiveListing, zipNamesThatClaimUTF8AndAreNotComeAsTheirBytes) {
  const std::string script = lying + R"(
with zipfile.ZipFile(path, 'w') as archive:
    archive.writestr(Lying('\xe9t\xe9/'), '')
    archive.writestr('plain.txt', 'x')
    archive.writestr(Lying('\xe9t\xe9/caf\xe9.txt'), 'xy')
    archive.writestr('日本.txt', 'xyz')
    archive.writestr(Lying('\xff'), 'wxyz')
    archive.comment = b'of no meaning' * 100
)";
  const auto names = ElementsAre("\xE9t\xE9/ 0", "plain.txt 1", "\xE9t\xE9/caf\xE9.txt 2", "日本.txt 3", "\xFF 4");
  EXPECT_THAT(*lines(python(script)), names);
  EXPECT_THAT(*lines(python(script + "whole = open(path, 'rb').read()\nopen(path, 'wb').write(b'#!/bin/sh\\n' + whole)")), names);
}

// The directory lists the entries the other way round than they stand in the file.
TEST_F(ArchiveListing, zipNamesThatClaimUTF8AndAreNotFindTheirEntriesInAnyOrder) {
  EXPECT_THAT(*lines(python(lying + R"(
with zipfile.ZipFile(path, 'w') as archive:
    archive.writestr(Lying('\xe9'), 'x')
    archive.writestr(Lying('\xe8'), 'xy')
    archive.filelist.reverse()
)")),
              ElementsAre("\xE9 1", "\xE8 2"));
}

TEST_F(ArchiveListing, entriesWithoutANameThatCanBeReadAreCounted) {
  const auto listing = listed(python(lying + R"(
with zipfile.ZipFile(path, 'w') as archive:
    archive.writestr('first', 'x')
    archive.writestr(Lying('\xe9'), 'x')
whole = open(path, 'rb').read()
open(path, 'wb').write(whole[:whole.index(b'PK\1\2')])
)"));
  ASSERT_TRUE(listing);
  EXPECT_THAT(*linesOf(listing), ElementsAre("first 1"));
  EXPECT_EQ(listing->leftOut, 1u);
}

TEST_F(ArchiveListing, unicodeNamesOfSevenZipAndPaxAreUTF8) {
  setlocale(LC_CTYPE, "C.UTF-8");
  for (const int format : {ARCHIVE_FORMAT_7ZIP, ARCHIVE_FORMAT_TAR_PAX_INTERCHANGE})
    EXPECT_THAT(*written({.format = format}, {{"日本 é.txt", "x"}}), ElementsAre("日本 é.txt 1"));
  setlocale(LC_CTYPE, "C");
}

TEST_F(ArchiveListing, encryptedEntriesAreListedWithTheirNames) {
  EXPECT_THAT(*written({.format = ARCHIVE_FORMAT_ZIP, .options = "zip:encryption=aes256", .passphrase = "secret"},
                       {{"hidden.txt", "12345678"}}),
              ElementsAre(testing::StartsWith("hidden.txt ")));
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(ArchiveListing, anArchiveCutShortShowsWhatIsLeftAndSaysSo) {
  const std::string path = folder.path("cut.tar");
  ArchiveFile::write(path, {}, {{"first", std::string(4096, 'x')}, {"second", std::string(4096, 'y')}});
  std::filesystem::resize_file(path, 512 + 4096 + 512 + 100);
  const auto listing = listed(path);
  ASSERT_TRUE(listing);
  EXPECT_THAT(*linesOf(listing), ElementsAre("first 4096", "second 4096"));
  EXPECT_NE(listing->shortfall, "");
  ASSERT_EQ(log.lines.size(), 1u);
  EXPECT_THAT(log.lines[0], testing::StartsWith("The listing of \"" + path + "\" is not whole: "));
}

TEST_F(ArchiveListing, damageAnywhereEndsInAListingOrInNone) {
  ArchiveLister lister(options(), log);
  int asked = 0, done = 0;
  const auto list = [&](const std::string& bytes) {
    lister.list(folder.file(std::to_string(asked++), bytes), [&](const std::optional<Listing>&) { ++done; });
  };
  for (const int format : {ARCHIVE_FORMAT_ZIP, ARCHIVE_FORMAT_7ZIP, ARCHIVE_FORMAT_XAR, ARCHIVE_FORMAT_ISO9660}) {
    ArchiveFile::write(folder.path("sound"), {.format = format}, threeEntries);
    const std::string sound = contentOf(folder.path("sound"));
    for (std::size_t i = 1; i < 40; ++i) {
      std::string damaged = sound;
      const std::size_t at = sound.size() * i / 40;
      damaged[at] = static_cast<char>(damaged[at] ^ 0xFF);
      list(damaged);
      list(sound.substr(0, at));
    }
  }
  EXPECT_TRUE(tests::pumpUntil([&] { return done == asked; }, std::chrono::seconds(60)));
  for (const std::string& line : log.lines) EXPECT_THAT(line, testing::Not(HasSubstr("given up")));
}

TEST_F(ArchiveListing, threeHundredThousandEntriesAreListedWhole) {
  const std::string path = folder.path("large.zip");
  {
    ArchiveFile file(path, {.format = ARCHIVE_FORMAT_ZIP, .options = "zip:compression=store"});
    for (int i = 0; i < 300'000; ++i) file.add({"f" + std::to_string(i % 1000) + "/" + std::to_string(i)});
    file.close();
  }
  const auto listing = listed(path);
  ASSERT_TRUE(listing);
  ASSERT_EQ(listing->count(), 300'000u);
  EXPECT_EQ(listing->entry(299'999).path, "f999/299999");
  EXPECT_EQ(listing->shortfall, "");
}

TEST_F(ArchiveListing, entriesBeyondTheBoundsAreLeftOutAndSaidSo) {
  const std::string path = folder.path("archive");
  ArchiveFile::write(path, {}, threeEntries);
  auto few = options();
  few.limits.bounds.entries = 2;
  EXPECT_THAT(*lines(path, few), ElementsAre("docs/ 0", "docs/a b.txt 5"));
  auto brief = options();
  brief.limits.bounds.pathBytes = 6;
  EXPECT_THAT(*lines(path, brief), ElementsAre("docs/ 0"));
  EXPECT_THAT(log.lines, testing::Each(HasSubstr("holds more entries than are listed")));
  EXPECT_EQ(log.lines.size(), 2u);
}

TEST_F(ArchiveListing, aPathBeyondAllMeasureIsLeftOut) {
  EXPECT_THAT(*written({.format = ARCHIVE_FORMAT_TAR_PAX_RESTRICTED}, {{"before"}, {std::string(70'000, 'x')}, {"after"}}),
              ElementsAre("before 0", "after 0"));
  EXPECT_EQ(listed(folder.path("archive"))->leftOut, 1u);
}

TEST_F(ArchiveListing, anArchiveOfTooMuchWorkIsGivenUpWhenItsTimeIsOver) {
  // Thirty-two gigabytes of zeros in a few kilobytes, to be decompressed for nothing but the end of the list.
  const std::string path = python(R"(
import bz2, tarfile
info = tarfile.TarInfo('zeros'); info.size = 32 << 30
stretch = bz2.compress(bytes(16 << 20))
open(path, 'wb').write(bz2.compress(info.tobuf(tarfile.GNU_FORMAT)) + stretch * 2048)
)");
  auto hasty = options();
  hasty.limits.time = std::chrono::milliseconds(50);
  EXPECT_FALSE(lines(path, hasty));
  EXPECT_THAT(log.lines, ElementsAre("The listing of \"" + path + "\" was given up: it took longer than 50 ms."));
}

class ListingChildren : public ArchiveListing {
 protected:
  /// A program that stands in for the listing child; the socket is its standard input.
  std::string program(const std::string& body) {
    const std::string path = folder.file("child.sh", "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  }
  Lines linesBy(const std::string& body, std::chrono::milliseconds time = std::chrono::seconds(30)) {
    ArchiveFile::write(folder.path("archive"), {}, threeEntries);
    auto how = options();
    how.childProgram = program(body);
    how.limits.time = time;
    return lines(folder.path("archive"), how);
  }
};

TEST_F(ListingChildren, oneThatHangsIsKilledAfterItsTime) {
  EXPECT_FALSE(linesBy("echo $$ > " + folder.path("pid") + "; exec tail -f /dev/null", std::chrono::milliseconds(300)));
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("it took longer than 300 ms")));
  const int process = std::atoi(contentOf(folder.path("pid")).c_str());
  ASSERT_GT(process, 1);
  EXPECT_TRUE(tests::pumpUntil([&] { return kill(process, 0) != 0 && errno == ESRCH; }));
}

TEST_F(ListingChildren, oneThatCrashesMeansNoArchiveAndOneLine) {
  EXPECT_FALSE(linesBy("kill -SEGV $$"));
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("the process that read it died")));
}

TEST_F(ListingChildren, oneThatSendsGarbageMeansNoArchiveAndOneLine) {
  EXPECT_FALSE(linesBy("printf 'garbage that is no frame' >&0; exec tail -f /dev/null"));
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("the process that read it sent garbage")));
}

TEST_F(ListingChildren, aProgramThatCannotRunMeansNoArchiveAndOneLine) {
  ArchiveFile::write(folder.path("archive"), {}, threeEntries);
  auto how = options();
  how.childProgram = folder.path("nowhere");
  EXPECT_FALSE(lines(folder.path("archive"), how));
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("no process could be started for it")));
}

TEST_F(ListingChildren, manyFilesAreListedByFewProcessesThatGoWithTheLastFile) {
  for (int i = 0; i < 40; ++i) ArchiveFile::write(folder.path(std::to_string(i)), {}, {{"of " + std::to_string(i)}});
  auto how = options();
  how.filesPerChild = 8;
  ArchiveLister lister(how, log);
  std::map<int, Lines> found;
  std::size_t most = 0;
  for (int i = 0; i < 40; ++i) {
    lister.list(folder.path(std::to_string(i)), [&, i](std::optional<Listing> listing) {
      found[i] = linesOf(listing);
      most = std::max(most, lister.liveChildren());
    });
  }
  EXPECT_EQ(lister.waitingFiles(), 40u);
  EXPECT_EQ(found.size(), 0u) << "a completion never runs from within the request";
  ASSERT_TRUE(tests::pumpUntil([&] { return found.size() == 40 && lister.liveChildren() == 0; }));
  for (int i = 0; i < 40; ++i) EXPECT_THAT(*found[i], ElementsAre("of " + std::to_string(i) + " 0"));
  EXPECT_GE(most, 1u);
  EXPECT_LE(most, 2u);
  EXPECT_EQ(lister.waitingFiles(), 0u);
}

TEST_F(ListingChildren, aHangingFileHoldsUpNoOther) {
  // The first child that is started hangs; all others are real ones.
  auto how = options();
  how.childProgram =
      program("if mkdir " + folder.path("first") + " 2>/dev/null; then exec tail -f /dev/null; fi; exec " DOVETAIL_HOST " \"$@\"");
  how.limits.time = std::chrono::seconds(5);
  ArchiveFile::write(folder.path("archive"), {}, threeEntries);
  ArchiveLister lister(how, log);
  int done = 0;
  for (int i = 0; i < 10; ++i)
    lister.list(folder.path("archive"), [&](std::optional<Listing> listing) { done += listing ? 1 : 0; });
  EXPECT_TRUE(tests::pumpUntil([&] { return done == 9; }, std::chrono::seconds(4)));
}

TEST_F(ListingChildren, aListerThatGoesDropsItsWorkAndEndsItsProcesses) {
  ArchiveFile::write(folder.path("archive"), {}, threeEntries);
  auto how = options();
  how.childProgram = program("echo $$ > " + folder.path("pid.new") + "; mv " + folder.path("pid.new") + " " + folder.path("pid") +
                             "; exec tail -f /dev/null");
  auto lister = std::make_unique<ArchiveLister>(how, log);
  lister->list(folder.path("archive"), [](std::optional<Listing>) { FAIL() << "no completion after the end"; });
  ASSERT_TRUE(tests::pumpUntil([&] { return std::filesystem::exists(folder.path("pid")); }));
  const int process = std::atoi(contentOf(folder.path("pid")).c_str());
  lister.reset();
  EXPECT_TRUE(tests::pumpUntil([&] { return kill(process, 0) != 0 && errno == ESRCH; }));
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(ListingChildren, tooManyWaitingFilesAreGivenUpWithALine) {
  auto how = options();
  how.waitingFiles = 1;
  ArchiveFile::write(folder.path("archive"), {}, threeEntries);
  ArchiveLister lister(how, log);
  std::vector<bool> isArchive;
  for (int i = 0; i < 2; ++i)
    lister.list(folder.path("archive"), [&](std::optional<Listing> listing) { isArchive.push_back(listing.has_value()); });
  ASSERT_TRUE(tests::pumpUntil([&] { return isArchive.size() == 2; }));
  EXPECT_EQ(std::count(isArchive.begin(), isArchive.end(), true), 1);
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("too many files wait")));
}

}  // namespace
