#include "folders/URLFacts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/fake/FakePlatform.h"

using platform::Date;
using platform::Error;
using platform::Object;
using platform::URL;
using platform::fake::FakeKind;
using testing::ElementsAre;
using testing::IsEmpty;
namespace ResourceKey = platform::ResourceKey;

class URLFacts : public testing::Test {
 protected:
  void SetUp() override {
    files.add("/v/folder/sub/deep");
    files.add("/v/folder/file");
    files.add("/v/beside");
    files.add("/v/link", FakeKind::symbolicLink);
    files.logsProperties = true;
    calls.take();
  }

  static URL at(std::string_view path) { return URL::fileURLWithPath(path); }
  static Error underlying(bool hasSuggestion) {
    Error error{"Disk", 7, {}};
    error.setText(platform::LocalizedDescriptionKey, "It broke.");
    error.setText("Other", "kept");
    if (hasSuggestion) error.setText(platform::LocalizedRecoverySuggestionErrorKey, "Mend it.");
    return error;
  }

  platform::fake::CallLog calls;
  platform::fake::FakeFileManager files{calls};
};

TEST_F(URLFacts, eachSimpleFactReadsItsOnePropertyOfTheURLItself) {
  const URL url = at("/v/folder/file");
  using namespace DTExtension;
  identifier(files, url);
  name(files, url);
  localizedName(files, url);
  isRegularFile(files, url);
  isDirectory(files, url);
  isAliasFile(files, url);
  isSymbolicLink(files, url);
  creationDate(files, url);
  contentModificationDate(files, url);
  attributeModificationDate(files, url);
  addedToDirectoryDate(files, url);
  parentUrl(files, url);
  std::vector<std::string> expected;
  for (const char* key :
       {"NSURLFileResourceIdentifierKey", "NSURLNameKey", "NSURLLocalizedNameKey", "NSURLIsRegularFileKey", "NSURLIsDirectoryKey",
        "NSURLIsAliasFileKey", "NSURLIsSymbolicLinkKey", "NSURLCreationDateKey", "NSURLContentModificationDateKey",
        "NSURLAttributeModificationDateKey", "NSURLAddedToDirectoryDateKey", "NSURLParentDirectoryURLKey"}) {
    expected.push_back(std::string("read ") + key + " of /v/folder/file");
  }
  EXPECT_EQ(calls.take(), expected);
}

TEST_F(URLFacts, factsAnswerTheProperty) {
  using namespace DTExtension;
  auto& properties = files.find("/v/folder/file")->properties;
  properties.emplace(ResourceKey::localizedName, Object("File"));
  properties.emplace(ResourceKey::creationDate, Object(Date{1}));
  properties.emplace(ResourceKey::contentModificationDate, Object(Date{2}));
  properties.emplace(ResourceKey::attributeModificationDate, Object(Date{3}));
  properties.emplace(ResourceKey::addedToDirectoryDate, Object(Date{4}));
  const URL url = at("/v/folder/file");
  EXPECT_EQ(name(files, url), "file");
  EXPECT_EQ(localizedName(files, url), "File");
  EXPECT_TRUE(isRegularFile(files, url));
  EXPECT_FALSE(isDirectory(files, url));
  EXPECT_TRUE(isDirectory(files, at("/v/folder")));
  EXPECT_TRUE(isSymbolicLink(files, at("/v/link")));
  EXPECT_TRUE(isAliasFile(files, at("/v/link")));
  EXPECT_EQ(creationDate(files, url).value().secondsSinceReferenceDate, 1);
  EXPECT_EQ(contentModificationDate(files, url).value().secondsSinceReferenceDate, 2);
  EXPECT_EQ(attributeModificationDate(files, url).value().secondsSinceReferenceDate, 3);
  EXPECT_EQ(addedToDirectoryDate(files, url).value().secondsSinceReferenceDate, 4);
  EXPECT_EQ(parentUrl(files, url).value().path(), "/v/folder");
  EXPECT_FALSE(parentUrl(files, at("/")));
  EXPECT_EQ(icon(files, url)->name, "icon of /v/folder/file");
}

TEST_F(URLFacts, everyFactOfAMissingFileIsAbsentOrFalse) {
  using namespace DTExtension;
  const URL url = at("/v/gone");
  EXPECT_FALSE(identifier(files, url));
  EXPECT_FALSE(icon(files, url));
  EXPECT_FALSE(name(files, url));
  EXPECT_FALSE(localizedName(files, url));
  EXPECT_FALSE(isRegularFile(files, url) || isDirectory(files, url) || isAliasFile(files, url) || isSymbolicLink(files, url) ||
               isRootFileSystem(files, url) || isNameCaseSensitive(files, url));
  EXPECT_FALSE(creationDate(files, url) || contentModificationDate(files, url) || attributeModificationDate(files, url) ||
               addedToDirectoryDate(files, url) || lastUsedDate(files, url));
  EXPECT_FALSE(parentUrl(files, url));
}

TEST_F(URLFacts, volumeFactsAskForTheVolumeFirstAndThenReadTheFilesOwnProperty) {
  DTExtension::isRootFileSystem(files, at("/v/beside"));
  EXPECT_THAT(calls.take(), ElementsAre("read NSURLVolumeURLKey of /v/beside", "read NSURLVolumeIsRootFileSystemKey of /v/beside"));
  DTExtension::isNameCaseSensitive(files, at("/v/beside"));
  EXPECT_THAT(calls.take(),
              ElementsAre("read NSURLVolumeURLKey of /v/beside", "read NSURLVolumeSupportsCaseSensitiveNamesKey of /v/beside"));
}

TEST_F(URLFacts, volumeFactsAnswerTheFilesOwnPropertyAndNotTheVolumes) {
  const auto answers = [&](std::string_view path) {
    return std::pair(DTExtension::isRootFileSystem(files, at(path)), DTExtension::isNameCaseSensitive(files, at(path)));
  };
  auto& properties = files.find("/v/beside")->properties;
  properties.emplace(ResourceKey::volumeIsRootFileSystem, Object(true));
  EXPECT_EQ(answers("/v/beside"), std::pair(true, false));
  properties.emplace(ResourceKey::volumeSupportsCaseSensitiveNames, Object(true));
  EXPECT_EQ(answers("/v/beside"), std::pair(true, true));
  for (const auto key : {ResourceKey::volumeIsRootFileSystem, ResourceKey::volumeSupportsCaseSensitiveNames}) {
    files.find("/")->properties.emplace(key, Object(true));
  }
  EXPECT_EQ(answers("/v/folder"), std::pair(false, false));
}

TEST_F(URLFacts, theParentIsThePropertyAndNotThePathsText) {
  files.find("/v/beside")->properties.emplace(ResourceKey::parentDirectoryURL, Object(at("/v/folder")));
  const auto parent = DTExtension::parentUrl(files, at("/v/beside"));
  ASSERT_TRUE(parent);
  EXPECT_EQ(parent->path(), "/v/folder");
  EXPECT_TRUE(DTExtension::isParentOfUrl(files, at("/v/folder"), at("/v/beside")));
}

TEST_F(URLFacts, theLastUseComesFromTheMetadataStore) {
  files.lastUsed["/v/beside"] = Date{5};
  EXPECT_EQ(DTExtension::lastUsedDate(files, at("/v/beside")).value().secondsSinceReferenceDate, 5);
  EXPECT_THAT(calls.take(), ElementsAre("metadata kMDItemLastUsedDate of /v/beside"));
}

TEST_F(URLFacts, formsOfOneFilesURLAreEqual) {
  const URL plain = at("/v/folder");
  for (const char* text : {"file:///v/folder/", "file:///v//folder", "file://localhost/v/folder", "FILE:///v/fol%64er"}) {
    EXPECT_TRUE(DTExtension::isEqual(files, plain, URL::URLWithString(text))) << text;
  }
  EXPECT_FALSE(DTExtension::isEqual(files, plain, at("/v/beside")));
}

TEST_F(URLFacts, twoURLsOfAMissingFileAreNeverEqualNotEvenToThemselves) {
  const URL gone = at("/v/gone");
  EXPECT_FALSE(DTExtension::isEqual(files, gone, gone));
  EXPECT_FALSE(DTExtension::isEqual(files, gone, at("/v/gone")));
}

TEST_F(URLFacts, aFileURLNeverEqualsAnotherKindOfURL) {
  EXPECT_FALSE(DTExtension::isEqual(files, at("/v/beside"), URL::URLWithString("http://x/v/beside")));
}

TEST_F(URLFacts, whenTheFirstIsNoFileURLTheTextsDecide) {
  const URL web = URL::URLWithString("http://x/a");
  EXPECT_TRUE(DTExtension::isEqual(files, web, URL::URLWithString("http://x/a")));
  EXPECT_TRUE(DTExtension::isEqual(files, web, URL::URLWithString("a", URL::URLWithString("http://x/b"))));
  EXPECT_FALSE(DTExtension::isEqual(files, web, URL::URLWithString("http://x/A")));
  EXPECT_FALSE(DTExtension::isEqual(files, web, at("/v/beside")));
  EXPECT_THAT(calls.take(), IsEmpty()) << "no file is asked";
}

TEST_F(URLFacts, anythingThatIsNoURLEqualsNothing) {
  const Object url = at("/v/beside");
  EXPECT_TRUE(DTExtension::isEqual(files, url, url));
  EXPECT_FALSE(DTExtension::isEqual(files, url, Object("file:///v/beside")));
  EXPECT_FALSE(DTExtension::isEqual(files, url, Object()));
  EXPECT_FALSE(DTExtension::isEqual(files, Object("x"), Object("x")));
  EXPECT_FALSE(DTExtension::isEqual(files, at("/v/beside"), std::nullopt));
}

TEST_F(URLFacts, aFolderIsTheParentOfWhatLiesInItAtAnyDepthAndOfNothingElse) {
  const auto isParent = [&](std::string_view folder, std::string_view other) {
    return DTExtension::isParentOfUrl(files, at(folder), at(other));
  };
  EXPECT_TRUE(isParent("/v/folder", "/v/folder/file"));
  EXPECT_TRUE(isParent("/v/folder", "/v/folder/sub/deep"));
  EXPECT_TRUE(isParent("/v/folder/", "/v//folder/sub"));
  EXPECT_TRUE(isParent("/", "/v/beside"));
  EXPECT_FALSE(isParent("/v/folder", "/v/folder"));
  EXPECT_FALSE(isParent("/v/folder", "/v/beside"));
  EXPECT_FALSE(isParent("/v/folder/sub", "/v/folder/file"));
  EXPECT_FALSE(isParent("/v/folder", "/elsewhere"));
  EXPECT_FALSE(isParent("/v/folder/file", "/v/folder/file"));
  EXPECT_FALSE(isParent("/v/beside", "/v/folder"));
  EXPECT_FALSE(isParent("/", "/"));
  EXPECT_FALSE(DTExtension::isParentOfUrl(files, at("/v/folder"), std::nullopt));
}

TEST_F(URLFacts, theWalkStopsAtTheFoldersOwnParent) {
  DTExtension::isParentOfUrl(files, at("/v/folder"), at("/v/beside"));
  EXPECT_THAT(calls.take(),
              ElementsAre("read NSURLIsDirectoryKey of /v/folder", "read NSURLParentDirectoryURLKey of /v/folder",
                          // is it /v already?
                          "read NSURLFileResourceIdentifierKey of /v/beside", "read NSURLFileResourceIdentifierKey of /v",
                          // is its parent the folder?
                          "read NSURLParentDirectoryURLKey of /v/beside", "read NSURLFileResourceIdentifierKey of /v",
                          "read NSURLFileResourceIdentifierKey of /v/folder",
                          // one up
                          "read NSURLFileResourceIdentifierKey of /v", "read NSURLFileResourceIdentifierKey of /v"));
}

TEST_F(URLFacts, anImmutableFileIsReadOnlyWithoutAQuestionToTheVolumeAndTheErrorStays) {
  for (const auto key : {ResourceKey::isUserImmutable, ResourceKey::isSystemImmutable}) {
    files.add("/v/beside").properties.emplace(key, Object(true));
    std::optional<Error> error = underlying(false);
    calls.take();
    EXPECT_TRUE(DTExtension::isReadOnlyAndError(files, at("/v/beside"), &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, "Disk");
    EXPECT_THAT(calls.take(), testing::Not(testing::Contains("read NSURLVolumeURLKey of /v/beside")));
  }
}

TEST_F(URLFacts, aWritableFileOnAWritableVolumeIsNotReadOnlyAndTheErrorIsCleared) {
  std::optional<Error> error = underlying(false);
  EXPECT_FALSE(DTExtension::isReadOnlyAndError(files, at("/v/beside"), &error));
  EXPECT_FALSE(error);
  EXPECT_THAT(calls.take(), ElementsAre("read NSURLIsUserImmutableKey of /v/beside", "read NSURLIsSystemImmutableKey of /v/beside",
                                        "read NSURLVolumeURLKey of /v/beside", "read NSURLVolumeIsReadOnlyKey of /"));
  EXPECT_FALSE(DTExtension::isReadOnlyAndError(files, at("/v/beside"), nullptr));
}

TEST_F(URLFacts, aFileOnAReadOnlyVolumeIsReadOnly) {
  files.find("/")->properties.emplace(ResourceKey::volumeIsReadOnly, Object(true));
  std::optional<Error> error = underlying(false);
  EXPECT_TRUE(DTExtension::isReadOnlyAndError(files, at("/v/beside"), &error));
  EXPECT_FALSE(error);
}

TEST_F(URLFacts, anAbsentVolumeIsNotReadOnly) {
  files.find("/v/beside")->properties.emplace(ResourceKey::volumeURL, Object());
  std::optional<Error> error = underlying(false);
  EXPECT_FALSE(DTExtension::isReadOnlyAndError(files, at("/v/beside"), &error));
  EXPECT_FALSE(error);
}

TEST_F(URLFacts, aMissingFilesErrorKeepsDomainAndCodeAndNamesThePath) {
  std::optional<Error> error;
  EXPECT_FALSE(DTExtension::isReadOnlyAndError(files, at("/v/gone"), &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "NSPOSIXErrorDomain");
  EXPECT_EQ(error->code, 2);
  EXPECT_EQ(*error->textForKey(platform::LocalizedDescriptionKey),
            "Failed to retrieve read only status for file at path \"/v/gone\".");
  EXPECT_EQ(*error->textForKey(platform::LocalizedRecoverySuggestionErrorKey), "No such file or directory");
  EXPECT_FALSE(DTExtension::isReadOnlyAndError(files, at("/v/gone"), nullptr));
}

TEST_F(URLFacts, eachOfTheFourReadsMayFailAndAnOlderSuggestionFollowsTheDescription) {
  struct Row {
    const char* path;
    std::string_view key;
  };
  for (const Row& row : {Row{"/v/beside", ResourceKey::isUserImmutable}, Row{"/v/beside", ResourceKey::isSystemImmutable},
                         Row{"/v/beside", ResourceKey::volumeURL}, Row{"/", ResourceKey::volumeIsReadOnly}}) {
    for (const bool hasSuggestion : {false, true}) {
      files.find(row.path)->failures = {{std::string(row.key), underlying(hasSuggestion)}};
      std::optional<Error> error;
      EXPECT_FALSE(DTExtension::isReadOnlyAndError(files, at("/v/beside"), &error));
      ASSERT_TRUE(error) << row.key;
      EXPECT_EQ(error->domain, "Disk");
      EXPECT_EQ(error->code, 7);
      EXPECT_EQ(*error->textForKey("Other"), "kept");
      EXPECT_EQ(*error->textForKey(platform::LocalizedDescriptionKey),
                "Failed to retrieve read only status for file at path \"/v/beside\".");
      EXPECT_EQ(*error->textForKey(platform::LocalizedRecoverySuggestionErrorKey),
                hasSuggestion ? "It broke. Mend it." : "It broke.");
    }
    files.find(row.path)->failures.clear();
  }
}
