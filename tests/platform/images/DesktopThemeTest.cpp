// The theme that the desktop's settings choose, seen by real processes.
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "platform/linux/OwnedGLib.h"
#include "tests/platform/images/ThemeFolder.h"

namespace {

using platform::native::OwnedObject;
using platform::native::OwnedText;

class Program {
 public:
  explicit Program(const std::map<std::string, std::string>& environment) {
    const OwnedObject<GSubprocessLauncher> launcher(
        g_subprocess_launcher_new(static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_PIPE)));
    for (const auto& [name, value] : environment) {
      g_subprocess_launcher_setenv(launcher.get(), name.c_str(), value.c_str(), TRUE);
    }
    process_.reset(g_subprocess_launcher_spawn(launcher.get(), nullptr, DESKTOP_THEME_PROGRAM, nullptr));
    if (process_) answers_.reset(g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_.get())));
  }
  ~Program() {
    if (process_) g_subprocess_force_exit(process_.get());
  }

  std::string answer() {
    const OwnedText line(answers_ ? g_data_input_stream_read_line(answers_.get(), nullptr, nullptr, nullptr) : nullptr);
    return line ? line.get() : "(no answer)";
  }
  std::string nextAnswer() {
    g_output_stream_write_all(g_subprocess_get_stdin_pipe(process_.get()), "\n", 1, nullptr, nullptr, nullptr);
    return answer();
  }

 private:
  OwnedObject<GSubprocess> process_;
  OwnedObject<GDataInputStream> answers_;
};

class DesktopTheme : public testing::Test {
 protected:
  DesktopTheme() {
    for (const char* name : {"first", "second", "Adwaita"}) {
      folder.theme(std::string("icons/") + name, "", {{"16/types", "Size=16"}});
      folder.png(drawing(name));
    }
  }

  static std::string drawing(const std::string& theme) { return "icons/" + theme + "/16/types/application-zip.png"; }
  std::string path(const std::string& theme) { return folder.path() + '/' + drawing(theme); }
  void choose(const std::string& schemaPath, const std::string& theme) {
    folder.write("glib-2.0/settings/keyfile", "[" + schemaPath + "]\nicon-theme='" + theme + "'\n");
  }

  ThemeFolder folder;
  std::map<std::string, std::string> environment{{"GSETTINGS_BACKEND", "keyfile"},
                                                 {"XDG_CONFIG_HOME", folder.path()},
                                                 {"XDG_DATA_HOME", folder.path()},
                                                 {"HOME", folder.path()},
                                                 {"XDG_CURRENT_DESKTOP", "GNOME"}};
};

TEST_F(DesktopTheme, isTheOneOfTheSettingsAndAChangeIsSeenByTheNextProcess) {
  choose("org/gnome/desktop/interface", "first");
  Program running(environment);
  EXPECT_EQ(running.answer(), path("first"));
  choose("org/gnome/desktop/interface", "second");
  EXPECT_EQ(running.nextAnswer(), path("first"));
  EXPECT_EQ(Program(environment).answer(), path("second"));
}

TEST_F(DesktopTheme, isTheOneOfTheUsersDatabaseReadWithoutABus) {
  folder.write("values/theme", "[org/gnome/desktop/interface]\nicon-theme='second'\n");
  folder.write("dconf/none", "");
  const std::string compile = "dconf compile " + folder.path() + "/dconf/user " + folder.path() + "/values";
  ASSERT_EQ(std::system(compile.c_str()), 0);
  environment["GSETTINGS_BACKEND"] = "dconf";
  environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + folder.path() + "/no-bus";
  EXPECT_EQ(Program(environment).answer(), path("second"));
}

TEST_F(DesktopTheme, isWhatTheSchemaGivesWhereNothingIsChosen) {
  environment["GSETTINGS_BACKEND"] = "memory";
  EXPECT_EQ(Program(environment).answer(), path("Adwaita"));
}

TEST_F(DesktopTheme, isAdwaitaWhereNoSuchSettingIsInstalled) {
  environment["XDG_DATA_DIRS"] = folder.path() + "/nothing";
  // Without a MIME database there are no types either: the themes' generic drawing tells them apart.
  for (const char* name : {"first", "Adwaita"}) {
    folder.png(std::string("icons/") + name + "/16/types/application-x-generic.png");
  }
  for (const char* desktop : {"GNOME", "X-Cinnamon", "MATE", ""}) {
    environment["XDG_CURRENT_DESKTOP"] = desktop;
    EXPECT_EQ(Program(environment).answer(), folder.path() + "/icons/Adwaita/16/types/application-x-generic.png") << desktop;
  }
}

TEST_F(DesktopTheme, isTheOneOfTheRunningDesktopsOwnSettings) {
  const std::map<std::string, std::string> schemas{{"X-Cinnamon", "org.cinnamon.desktop.interface"},
                                                   {"MATE", "org.mate.interface"},
                                                   {"ubuntu:GNOME", "org.gnome.desktop.interface"}};
  std::string list = "<schemalist>";
  for (const auto& [desktop, schema] : schemas) {
    list += "<schema id='" + schema + "' path='/test/" + schema + "/'>" +
            "<key name='icon-theme' type='s'><default>'Adwaita'</default></key></schema>";
  }
  folder.write("schemas/test.gschema.xml", list + "</schemalist>");
  const std::string compile = "glib-compile-schemas " + folder.path() + "/schemas";
  ASSERT_EQ(std::system(compile.c_str()), 0);
  environment["GSETTINGS_SCHEMA_DIR"] = folder.path() + "/schemas";
  for (const auto& [desktop, schema] : schemas) {
    choose("test/" + schema, "second");
    environment["XDG_CURRENT_DESKTOP"] = desktop;
    EXPECT_EQ(Program(environment).answer(), path("second")) << desktop;
  }
}

}  // namespace
