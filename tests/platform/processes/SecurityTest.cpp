// Entitlements and build settings.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/processes/Bundle.h"
#include "platform/linux/processes/Security.h"

namespace {

using namespace platform;
using namespace platform::native;

std::string plist(const std::string& inner) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">" +
         inner + "</plist>\n";
}
std::string groups(const std::string& value) {
  return plist("<dict><key>com.apple.security.application-groups</key>" + value + "</dict>");
}
Object groupsValue(const std::string& text) {
  const auto task = LinuxSecurity(text).createFromSelf();
  EXPECT_TRUE(task);
  return task ? task->copyValueForEntitlement(ApplicationGroupsEntitlement) : Object();
}
Object valueOf(const std::string& inner) {
  auto value = objectOfPropertyListText(plist(inner));
  return value ? *std::move(value) : Object();
}

TEST(Entitlements, theBuildsOwnListGrantsItsApplicationGroup) {
  const auto task = LinuxSecurity().createFromSelf();
  ASSERT_TRUE(task);
  const Object value = task->copyValueForEntitlement(ApplicationGroupsEntitlement);
  ASSERT_TRUE(value.get<Array>());
  ASSERT_EQ(value.get<Array>()->size(), 1u);
  EXPECT_EQ(*value.get<Array>()->front().get<std::string>(), BuildSettings::applicationGroup);
}

TEST(Entitlements, withoutAReadableListThereIsNoTask) {
  for (const std::string& text : {std::string(), std::string("no list"), plist(""), plist("<array/>"), plist("<dict>"),
                                  plist("<dict><string>a</string></dict>"), plist("<dict><key>a</key></dict>"),
                                  plist("<dict/><dict/>"), std::string("<dict/>"), plist("<dict><key>a</key><odd/></dict>"),
                                  groups("<array/>").substr(0, 200), std::string("\xFF\xFE<plist/>")}) {
    EXPECT_FALSE(LinuxSecurity(text).createFromSelf()) << text;
  }
}

TEST(Entitlements, anAbsentEntitlementIsNil) {
  EXPECT_TRUE(groupsValue(plist("<dict/>")).isNil());
  EXPECT_TRUE(groupsValue(plist("<dict><key>other</key><true/></dict>")).isNil());
}

TEST(Entitlements, aValueIsGivenAsItStandsWhateverItsKind) {
  EXPECT_TRUE(groupsValue(groups("<string>a</string>")).get<std::string>());
  EXPECT_TRUE(groupsValue(groups("<array/>")).get<Array>()->empty());
  EXPECT_TRUE(groupsValue(groups("<array><integer>1</integer></array>")).get<Array>()->front().get<Integer>());
  EXPECT_EQ(groupsValue(groups("<array><string>a</string><string>b</string></array>")).get<Array>()->size(), 2u);
}

TEST(PropertyLists, eachKindIsRead) {
  EXPECT_TRUE(*valueOf("<true/>").get<bool>());
  EXPECT_FALSE(*valueOf("<false/>").get<bool>());
  EXPECT_TRUE(*valueOf("<integer> -5 </integer>").get<Integer>() == Integer::ofSigned(-5));
  EXPECT_TRUE(*valueOf("<integer>18446744073709551615</integer>").get<Integer>() == Integer::ofUnsigned(~std::uint64_t{0}));
  EXPECT_EQ(*valueOf("<real>1.5</real>").get<double>(), 1.5);
  EXPECT_EQ(*valueOf("<string>a &amp; <![CDATA[<b>]]> \n</string>").get<std::string>(), "a & <b> \n");
  EXPECT_EQ(*valueOf("<string/>").get<std::string>(), "");
  EXPECT_EQ(*valueOf("<data>\n\tAQL/\n</data>").get<Data>(), (Data{1, 2, 255}));
  EXPECT_EQ(*valueOf("<data/>").get<Data>(), Data());
  EXPECT_EQ(valueOf("<array><array/><dict/></array>").get<Array>()->size(), 2u);
  EXPECT_TRUE(valueOf("<dict><!-- note -->\n<key>a</key>\n<true/></dict>").get<Dictionary>()->objectForKey("a"));
}

TEST(PropertyLists, aTextOfTheWrongKindMakesItNone) {
  for (const char* inner :
       {"<integer>a</integer>", "<integer/>", "<integer>1 2</integer>", "<integer>99999999999999999999</integer>", "<real>x</real>",
        "<data>A</data>", "<array>text</array>", "<string><true/></string>", "<key>a</key>",
        "<dict><key>a</key><key>b</key><true/></dict>", "text", "<plist/>"}) {
    EXPECT_FALSE(objectOfPropertyListText(plist(inner))) << inner;
  }
}

TEST(PropertyLists, depthAndLengthAreBounded) {
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<array>";
    for (int i = 0; i < depth; ++i) text += "</array>";
    return plist(text);
  };
  EXPECT_TRUE(objectOfPropertyListText(nested(63)));
  EXPECT_FALSE(objectOfPropertyListText(nested(64)));
  EXPECT_FALSE(objectOfPropertyListText(nested(20'000)));
  EXPECT_FALSE(objectOfPropertyListText(plist("<true/>") + std::string(1'100'000, ' ')));
}

TEST(Bundles, theBuildSettingsAreTheUsualInformation) {
  const LinuxBundle bundle;
  EXPECT_EQ(bundle.objectForInfoDictionaryKey(BundleVersionKey), BuildSettings::bundleVersion);
  EXPECT_EQ(bundle.hostBundleIdentifier(), BuildSettings::hostBundleIdentifier);
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("CFBundleOther"), std::nullopt);
  EXPECT_EQ(bundle.processIdentifier(), getpid());
}

TEST(Bundles, aProgramMayPassForAnotherVersionOfAnotherHost) {
  const LinuxBundle bundle("2.5", "org.example.Host");
  EXPECT_EQ(bundle.objectForInfoDictionaryKey(BundleVersionKey), "2.5");
  EXPECT_EQ(bundle.hostBundleIdentifier(), "org.example.Host");
}

}  // namespace
