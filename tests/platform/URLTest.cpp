// URLs as text and as paths. The examples of resolving are those of RFC 3986, section 5.4.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/URL.h"

namespace {

using platform::FileReference;
using platform::URL;

std::string pathOf(std::string_view text) { return URL::URLWithString(text).path(); }
std::string textOf(std::string_view path, bool isDirectory = false) {
  return URL::fileURLWithPath(path, isDirectory).absoluteString();
}

class MovingFile final : public FileReference {
 public:
  std::string path() const override { return now; }
  std::string now = "/before";
};

TEST(URLs, aPathBecomesTextWithEachOtherByteEscaped) {
  EXPECT_EQ(textOf("/home/u/a b.zip"), "file:///home/u/a%20b.zip");
  EXPECT_EQ(textOf("/100%/#?;[\\]"), "file:///100%25/%23%3F%3B%5B%5C%5D");
  EXPECT_EQ(textOf("/caf\xC3\xA9/\xFF"), "file:///caf%C3%A9/%FF");
  EXPECT_EQ(textOf("/-._~!$&'()*+,=:@"), "file:///-._~!$&'()*+,=:@");
}

TEST(URLs, everyByteOfANameSurvivesTheWayThroughText) {
  std::string path = "/";
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/') path += static_cast<char>(byte);
  }
  EXPECT_EQ(pathOf(textOf(path)), path);
}

TEST(URLs, finalSlashesAreDroppedFromThePathAndAFoldersTextHasOne) {
  EXPECT_EQ(URL::fileURLWithPath("/a///").path(), "/a");
  EXPECT_EQ(textOf("/a/"), "file:///a");
  EXPECT_EQ(textOf("/a", true), "file:///a/");
  EXPECT_EQ(textOf("/", true), "file:///");
  EXPECT_EQ(textOf("///"), "file:///");
  EXPECT_EQ(pathOf("file:///a//"), "/a");
  EXPECT_EQ(pathOf("file:///"), "/");
}

TEST(URLs, aPathIsDecodedFromAnyLegalTextOfAFile) {
  EXPECT_EQ(pathOf("file:///a%20b"), "/a b");
  EXPECT_EQ(pathOf("file:/a"), "/a");
  EXPECT_EQ(pathOf("FILE:///a"), "/a");
  EXPECT_EQ(pathOf("file://localhost/a"), "/a");
  EXPECT_EQ(pathOf("file://LocalHost/a"), "/a");
  EXPECT_EQ(pathOf("file:///a?query#fragment"), "/a");
  EXPECT_EQ(pathOf("file:///%2e%2E/a"), "/../a");
}

TEST(URLs, textsThatNameNoFileOfThisMachineHaveNoPath) {
  EXPECT_EQ(pathOf("file://elsewhere/a"), "");
  EXPECT_EQ(pathOf("file:a"), "");
  EXPECT_EQ(pathOf("file:"), "");
  EXPECT_EQ(pathOf("https://example.org/a"), "");
  EXPECT_EQ(pathOf("/a"), "");
  EXPECT_EQ(pathOf(""), "");
  EXPECT_EQ(pathOf("files:///a"), "");
}

TEST(URLs, anEncodedNULOrABrokenEscapeLeavesNoPath) {
  for (const char* text : {"file:///a%00", "file:///%00/b", "file:///a%", "file:///a%2", "file:///a%zz", "file:///a%2g"}) {
    EXPECT_EQ(pathOf(text), "") << text;
    EXPECT_TRUE(URL::URLWithString(text).isFileURL()) << text;
    EXPECT_EQ(URL::URLWithString(text).absoluteString(), text);
  }
}

TEST(URLs, theSchemeAloneMakesAFileURL) {
  EXPECT_TRUE(URL::fileURLWithPath("/a").isFileURL());
  EXPECT_TRUE(URL::URLWithString("FiLe:///a").isFileURL());
  EXPECT_FALSE(URL::URLWithString("http://a/file:").isFileURL());
  EXPECT_FALSE(URL::URLWithString("file").isFileURL());
  EXPECT_FALSE(URL::URLWithString("1file:///a").isFileURL());
  EXPECT_FALSE(URL::URLWithString("").isFileURL());
}

TEST(URLs, aTextIsKeptAsItStands) {
  for (const char* text : {"file:///a%2fb/../c", "HTTP://Example.ORG:80/%7e", "a b", "//", ":", "\xFF"}) {
    EXPECT_EQ(URL::URLWithString(text).relativeString(), text);
    EXPECT_EQ(URL::URLWithString(text).absoluteString(), text);
    EXPECT_FALSE(URL::URLWithString(text).baseURL());
  }
}

TEST(URLs, relativeTextsResolveAsInTheStandard) {
  const URL base = URL::URLWithString("http://a/b/c/d;p?q");
  const std::pair<const char*, const char*> examples[] = {{"g:h", "g:h"},
                                                          {"g", "http://a/b/c/g"},
                                                          {"./g", "http://a/b/c/g"},
                                                          {"g/", "http://a/b/c/g/"},
                                                          {"/g", "http://a/g"},
                                                          {"//g", "http://g"},
                                                          {"?y", "http://a/b/c/d;p?y"},
                                                          {"g?y", "http://a/b/c/g?y"},
                                                          {"#s", "http://a/b/c/d;p?q#s"},
                                                          {"g#s", "http://a/b/c/g#s"},
                                                          {"g?y#s", "http://a/b/c/g?y#s"},
                                                          {";x", "http://a/b/c/;x"},
                                                          {"g;x", "http://a/b/c/g;x"},
                                                          {"g;x?y#s", "http://a/b/c/g;x?y#s"},
                                                          {"", "http://a/b/c/d;p?q"},
                                                          {".", "http://a/b/c/"},
                                                          {"./", "http://a/b/c/"},
                                                          {"..", "http://a/b/"},
                                                          {"../", "http://a/b/"},
                                                          {"../g", "http://a/b/g"},
                                                          {"../..", "http://a/"},
                                                          {"../../", "http://a/"},
                                                          {"../../g", "http://a/g"},
                                                          {"../../../g", "http://a/g"},
                                                          {"../../../../g", "http://a/g"},
                                                          {"/./g", "http://a/g"},
                                                          {"/../g", "http://a/g"},
                                                          {"g.", "http://a/b/c/g."},
                                                          {".g", "http://a/b/c/.g"},
                                                          {"g..", "http://a/b/c/g.."},
                                                          {"..g", "http://a/b/c/..g"},
                                                          {"./../g", "http://a/b/g"},
                                                          {"./g/.", "http://a/b/c/g/"},
                                                          {"g/./h", "http://a/b/c/g/h"},
                                                          {"g/../h", "http://a/b/c/h"},
                                                          {"g;x=1/./y", "http://a/b/c/g;x=1/y"},
                                                          {"g;x=1/../y", "http://a/b/c/y"},
                                                          {"g?y/./x", "http://a/b/c/g?y/./x"},
                                                          {"g?y/../x", "http://a/b/c/g?y/../x"},
                                                          {"g#s/./x", "http://a/b/c/g#s/./x"},
                                                          {"g#s/../x", "http://a/b/c/g#s/../x"},
                                                          {"http:g", "http:g"}};
  for (const auto& [relative, expected] : examples) {
    EXPECT_EQ(URL::URLWithString(relative, base).absoluteString(), expected) << relative;
  }
}

TEST(URLs, anEmptyQueryIsAQuery) {
  EXPECT_EQ(URL::URLWithString("?", URL::URLWithString("http://a/b?q")).absoluteString(), "http://a/b?");
}

TEST(URLs, aRelativeTextUnderABaseWithoutAPathGetsASlash) {
  EXPECT_EQ(URL::URLWithString("g", URL::URLWithString("http://a")).absoluteString(), "http://a/g");
}

TEST(URLs, aRelativeFileURLHasThePathOfTheWhole) {
  const URL base = URL::fileURLWithPath("/a/b", true);
  const URL url = URL::URLWithString("c%20d/../e", base);
  EXPECT_TRUE(url.isFileURL());
  EXPECT_EQ(url.path(), "/a/b/e");
  EXPECT_EQ(url.relativeString(), "c%20d/../e");
  ASSERT_TRUE(url.baseURL());
  EXPECT_EQ(url.baseURL()->absoluteString(), "file:///a/b/");
  EXPECT_EQ(URL::URLWithString("c", URL::fileURLWithPath("/a/b")).path(), "/a/c");
}

TEST(URLs, theLastComponentIsInBytes) {
  EXPECT_EQ(URL::fileURLWithPath("/a/\xFF b/").lastPathComponent(), "\xFF b");
  EXPECT_EQ(URL::fileURLWithPath("/").lastPathComponent(), "/");
  EXPECT_EQ(URL::URLWithString("https://example.org/a").lastPathComponent(), "");
}

TEST(URLs, anEntryOfAFolderIsThePathAndTheName) {
  EXPECT_EQ(URL::fileURLWithPath("/a", true).URLByAppendingPathComponent("b").absoluteString(), "file:///a/b");
  EXPECT_EQ(URL::fileURLWithPath("/").URLByAppendingPathComponent("b", true).absoluteString(), "file:///b/");
  const auto file = std::make_shared<MovingFile>();
  EXPECT_EQ(URL::fileURLWithReference(file).URLByAppendingPathComponent("b").path(), "/before/b");
}

TEST(URLs, bothTextsOfAFolderAreTheSameAndHashAlike) {
  const URL url = URL::fileURLWithPath("/a b");
  for (const URL& same : {URL::fileURLWithPath("/a b/", true), URL::URLWithString("file:///a%20b/"),
                          URL::URLWithString("FILE://localhost/%61%20b")}) {
    EXPECT_TRUE(url.isSameText(same)) << same.absoluteString();
    EXPECT_EQ(url.hash(), same.hash()) << same.absoluteString();
  }
  EXPECT_FALSE(url.isSameText(URL::fileURLWithPath("/a c")));
  EXPECT_FALSE(url.isSameText(URL::URLWithString("https://example.org/a%20b")));
}

TEST(URLs, textsWithoutAPathCompareWhole) {
  const URL whole = URL::URLWithString("https://example.org/a/b");
  const URL relative = URL::URLWithString("b", URL::URLWithString("https://example.org/a/"));
  EXPECT_TRUE(whole.isSameText(relative));
  EXPECT_EQ(whole.hash(), relative.hash());
  EXPECT_FALSE(whole.isSameText(URL::URLWithString("https://example.org/a/b/")));
  EXPECT_EQ(URL::fileURLWithPath("").hash(), URL::fileURLWithPath("").hash());
}

TEST(URLs, aReferenceIsAskedAnewAtEachUse) {
  const auto file = std::make_shared<MovingFile>();
  const URL url = URL::fileURLWithReference(file);
  EXPECT_TRUE(url.isFileURL());
  EXPECT_TRUE(url.isFileReferenceURL());
  EXPECT_EQ(url.storedPath(), nullptr);
  EXPECT_EQ(url.absoluteString(), "file:///before/");
  const std::size_t hash = url.hash();
  file->now = "/after";
  EXPECT_EQ(url.path(), "/after");
  EXPECT_EQ(url.lastPathComponent(), "after");
  EXPECT_EQ(url.hash(), hash);
  file->now = "";
  EXPECT_EQ(url.path(), "");
}

TEST(URLs, aReferenceIsTheSameTextAsItselfAlone) {
  const auto file = std::make_shared<MovingFile>();
  const URL url = URL::fileURLWithReference(file);
  EXPECT_TRUE(url.isSameText(URL::fileURLWithReference(file)));
  EXPECT_FALSE(url.isSameText(URL::fileURLWithReference(std::make_shared<MovingFile>())));
  EXPECT_FALSE(url.isSameText(URL::fileURLWithPath("/before")));
  EXPECT_FALSE(URL::fileURLWithPath("/before").isSameText(url));
}

}  // namespace
