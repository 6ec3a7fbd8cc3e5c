"""The desktop, where the browser shows one."""

from browser_fixture import BrowserTest


class DesktopTest(BrowserTest):

    @classmethod
    def start_browser(cls):
        from file_browser import CajaDesktop
        cls.browser = CajaDesktop(cls.session)
        cls.window = cls.browser.window("Desktop")

    def test_an_archive_on_the_desktop_has_its_contents_in_its_first_menu(self):
        menu = self.browser.open_menu_of(self.window, "letters.tar.gz")
        self.assertTrue(self.browser.has_item(menu, "letters.tar.gz"))

    def test_the_host_is_asked_about_an_archive_that_comes_to_the_desktop(self):
        late = self.make_archive("late.tar.gz")
        self.host.line(lambda line: line["event"] == "answered" and line["file"] == late)

    def test_the_desktops_background_acts_on_its_folder(self):
        menu = self.browser.open_background_menu(self.window)
        self.session.picture("desktop")
        self.browser.choose(menu, "Access Control List…")
        self.assert_sent("showAcl:", [self.watched])
