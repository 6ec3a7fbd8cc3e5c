"""Makes the pictures of docs/browsers.md: each browser's menu with an archive open, light and dark.

    browser_pictures.py FOLDER BROWSER...

The environment is that of graphical_session.py."""

import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)

import graphical_session  # noqa: E402

import dovetail_archives  # noqa: E402

SCHEMES = {"light": ("false", "default"), "dark": ("true", "prefer-dark")}

EMPTY_SCREEN = "#808080"  # as the compositor paints it


def write_scheme(session, scheme):
    """For GTK 3 and for libadwaita."""
    prefers_dark, colors = SCHEMES[scheme]
    session.write(".config/gtk-3.0/settings.ini",
                  "[Settings]\ngtk-menu-images=1\ngtk-enable-animations=0\ngtk-application-prefer-dark-theme=%s\n" % prefers_dark)
    # libadwaita asks the settings for it where there is no portal.
    session.write(".config/glib-2.0/settings/keyfile", "[org/gnome/desktop/interface]\ncolor-scheme='%s'\n" % colors)


def make_picture(browser_name, scheme, folder):
    session = graphical_session.GraphicalSession(browser_name, size="1180x660x24")
    write_scheme(session, scheme)
    session.spawn(["xcompmgr"])  # draws what a menu of GTK 4 lets through around itself
    watched = session.make_folder("home", "papers")
    dovetail_archives.make_tar(os.path.join(watched, "letters.tar.gz"), "gz")
    with open(os.path.join(watched, "notes.txt"), "w") as file:
        file.write("remember the milk\n")
    session.settings("folders", "add", watched)
    session.settings("icons", "contextual", "on")
    host = session.start_host()
    from file_browser import BROWSERS
    browser = BROWSERS[browser_name](session, watched)
    window = browser.window("papers")
    host.line(lambda line: line["event"] == "answered")
    menu = browser.open_menu_of(window, "letters.tar.gz")
    # A menu of pages shows one of them.
    browser.open_submenus(menu, *["letters.tar.gz", "guide", "chapters"][:1 if browser_name == "nautilus" else 3])
    session.picture(scheme)
    session.close()
    finish(os.path.join(session.pictures, "%s-%s.png" % (browser_name, scheme)),
           os.path.join(folder, browser_name + ("" if scheme == "light" else "-dark") + ".png"))


def finish(taken, kept):
    """Without the empty screen around the window, and small."""
    subprocess.run(["convert", taken, "-bordercolor", EMPTY_SCREEN, "-border", "1", "-trim", "+repage", "-dither", "None", "-colors", "128",
                    kept], check=True)
    subprocess.run(["optipng", "-quiet", "-o4", "-strip", "all", kept], check=True)


def main():
    if "DOVETAIL_BROWSER" in os.environ:
        return make_picture(*sys.argv[1:])
    folder, *browsers = sys.argv[1:]
    results = [graphical_session.run(browser, os.path.abspath(__file__), browser, scheme, os.path.abspath(folder))
               for browser in browsers for scheme in SCHEMES]
    return sys.exit(any(results))


if __name__ == "__main__":
    main()
