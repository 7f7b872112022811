"""The program as its users have it: other programs find its controls, drop files on it and look at what it wrote.

    program_test.py PROGRAM VERSION APPLICATION-ID [WORD OF UNITTEST…]
"""

import configparser
import contextlib
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

import needed

needed.look_for("heif-convert")

import pictures
from accessible import CHECKED, Accessibility
from desktop import Desktop
from portal import DARK, LIGHT, NO_PREFERENCE, Portal
from program import Home, Process, Program
from waiting import eventually
from x_client import XClient

PROGRAM, VERSION, APPLICATION_ID = (sys.argv.pop(1) for _ in range(3))
PALETTE = [(200, 30, 40), (20, 160, 60), (30, 50, 190), (230, 200, 20)]
MANY = 1000
GROUNDS = {LIGHT: (0xF3, 0xF5, 0xF8), DARK: (0x13, 0x17, 0x1C)}  # of the window, in light and in dark
DESKTOP_ENTRY = pathlib.Path(__file__).resolve().parents[3] / "packaging" / "desktop" / "ovrel.desktop.in"


class ProgramTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.desktop = cls.enterClassContext(contextlib.closing(Desktop(cls.folder)))
        cls.accessibility = Accessibility(cls.desktop.accessibility_bus)
        cls.hands = XClient(cls.desktop.display)

    def setUp(self):
        home = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(dir=self.folder)))
        self.home = Home(home, self.desktop)

    def launch(self, *files):
        process = Process([PROGRAM, *files], self.home)
        self.addCleanup(process.close)
        return process

    def start(self, *files):
        return Program(self.launch(*files), self.accessibility, self.hands)

    def picture(self, name, content=None):
        file = self.home.pictures / name
        file.parent.mkdir(exist_ok=True)
        file.write_bytes(pictures.quartered(96, 64, PALETTE) if content is None else content)
        return file

    def many_pictures(self):
        """A folder that keeps the program busy for long."""
        first = self.picture("many/0000.png", pictures.noise(480, 360))
        for number in range(1, MANY):
            (first.parent / f"{number:04}.png").hardlink_to(first)
        return first.parent

    def choose_results_folder(self, program):
        """Types the folder's path into the dialog."""
        program.click("Выбрать папку")
        dialog = program.get("dialog", "Сохранять сюда")
        program.wait_for(lambda: dialog.find("text"), "a field for the name").type(str(self.home.results))
        program.click("Сохранять сюда")
        program.get("push button", "results")

    def convert(self, program, successes):
        program.click("Преобразовать в AVIF")
        program.wait_for_text(f"Готово: {successes} успешно, 0 с ошибками")

    def start_long_run(self):
        program = self.start(self.many_pictures())
        program.wait_for_text(f"В очереди: {MANY}")
        self.choose_results_folder(program)
        program.click("Преобразовать в AVIF")
        program.wait_for(self.results, "the first result")
        return program

    def ground(self, program):
        """The colour of the window between its edge and the list."""
        window = program.get("frame", "Ovrel").box
        return self.hands.color(window.x + 8, window.y + window.height // 2)

    def results(self):
        """The names of the files that are seen in the folder of results."""
        return sorted(path.name for path in self.home.results.iterdir() if not path.name.startswith("."))

    def expect_whole_results(self):
        """Only results lie there, and each of them can be decoded."""
        names = sorted(path.name for path in self.home.results.iterdir())
        self.assertEqual(names, self.results())
        for name in names:
            self.decoded(name)
        return names

    def decoded(self, name):
        """A result as a PNG picture, through a decoder of others."""
        with tempfile.TemporaryDirectory(dir=self.folder) as folder:
            picture = pathlib.Path(folder, "picture.png")
            subprocess.run(["heif-convert", self.home.results / name, picture], check=True, capture_output=True)
            return picture.read_bytes()

    def test_has_a_bus_that_starts_nothing_of_this_machine(self):
        self.assertEqual(sorted(self.desktop.activatable_names()), ["org.a11y.Bus", "org.freedesktop.DBus"])

    def test_lists_the_folder_of_the_command_line(self):
        self.picture("album/b.png")
        self.picture("album/a.jpg")
        self.picture("album/text.txt")
        self.picture("album/c/d.gif")
        program = self.start(self.home.pictures / "album")
        program.wait_for_rows(["a.jpg, JPG", "b.png, PNG", "d.gif, GIF, С сохранением анимации"])

    def test_says_that_a_file_of_the_command_line_is_missing(self):
        program = self.start("missing.png")
        alert = program.get("alert message", "Не удалось выполнить действие")
        self.assertIsNotNone(alert.find("label", "Файл или папка больше не существует."))
        alert.find("push button", "OK").act("Press")
        program.wait_for(lambda: program.find("alert message") is None, "an alert that closes")
        program.get("label", "Перетащите файлы сюда")

    def test_has_windows_of_the_class_that_its_desktop_entry_names(self):
        program = self.start()
        name = program.window.get_wm_class()[1]
        self.assertIn(f"StartupWMClass={name}\n", DESKTOP_ENTRY.read_text())

    def test_takes_what_another_program_drops(self):
        first, second = self.picture("first picture.png"), self.picture("вторая.png")
        self.picture("folder/third.png")
        program = self.start()
        invitation = program.get("label", "Перетащите файлы сюда")
        self.hands.drop(program.window, invitation.box, [first.as_uri()])
        program.wait_for_rows(["first picture.png, PNG"])
        self.hands.drop(program.window, program.get("list", "Изображения").box,
                        [second.as_uri(), (self.home.pictures / "folder").as_uri()])
        program.wait_for_rows(["first picture.png, PNG", "third.png, PNG", "вторая.png, PNG"])

    def test_converts_what_is_listed(self):
        copied = b"an AVIF file is copied as it is"
        self.picture("flag.png")
        self.picture("большая картина.png", pictures.quartered(301, 203, PALETTE[::-1]))
        self.picture("ready.avif", copied)
        program = self.start(self.home.pictures)
        self.choose_results_folder(program)
        before = self.home.untouchable()
        self.convert(program, 3)
        program.wait_for_rows(["flag.png, PNG, ✓ flag.avif", "ready.avif, AVIF, ✓ ready.avif · скопирован",
                               "большая картина.png, PNG, ✓ большая картина.avif"])
        names = sorted(path.name for path in self.home.results.iterdir())
        self.assertEqual(names, ["flag.avif", "ready.avif", "большая картина.avif"])
        self.assertEqual((self.home.results / "ready.avif").read_bytes(), copied)
        for name, size, colors in [("flag.avif", (96, 64), PALETTE),
                                   ("большая картина.avif", (301, 203), PALETTE[::-1])]:
            with self.subTest(name):
                found_size, found = pictures.size_and_quarters(self.decoded(name))
                self.assertEqual(found_size, size)
                for expected, color in zip(colors, found, strict=True):
                    self.assertLess(max(abs(a - b) for a, b in zip(expected, color, strict=True)), 16)
        self.assertEqual(self.home.untouchable(), before)

    def test_converts_with_the_quality_that_is_set(self):
        program = self.start(self.picture("noise.png", pictures.noise(120, 90)))
        program.wait_for_rows(["noise.png, PNG"])
        self.choose_results_folder(program)
        for quality in [5, 95]:
            program.get("slider", "Качество изображения").value = quality
            program.get("label", str(quality))
            self.convert(program, 1)
            program.click("Очистить список")
            program.wait_for_rows([])
            self.hands.drop(program.window, program.get("label", "Перетащите файлы сюда").box,
                            [(self.home.pictures / "noise.png").as_uri()])
            program.wait_for_rows(["noise.png, PNG"])
        low, high = ((self.home.results / name).stat().st_size for name in ["noise.avif", "noise-2.avif"])
        self.assertLess(2 * low, high)

    def test_stops_after_the_image_in_hand(self):
        program = self.start_long_run()
        program.click("Остановить")
        program.get("push button", "Преобразовать в AVIF")
        names = self.expect_whole_results()
        self.assertLess(len(names), MANY)
        program.wait_for_text(f"Остановлено: {len(names)} успешно, 0 с ошибками, {MANY - len(names)} осталось")

    def test_speaks_the_chosen_language_from_then_on(self):
        program = self.start(self.picture("one.avif"))
        program.wait_for_rows(["one.avif, AVIF, Копирование без изменений"])
        # A choice is called by its value, as everywhere with Qt, and what it is for by its label.
        self.assertEqual(program.get("combo box", "Баланс").label, "Сжатие")
        program.get("radio button", "English").act("Toggle")
        program.wait_for(lambda: program.rows("Images") == ["one.avif, AVIF, Copy without changes"], "the English list")
        for role, name in [("push button", "Convert to AVIF"), ("push button", "Choose a folder"),
                           ("slider", "Image quality"), ("check box", "Include subfolders"), ("radio button", "System"),
                           ("label", "Files queued: 1"), ("button menu", "Add"), ("panel", "Encoding method"),
                           ("panel", "Language / Язык")]:
            program.get(role, name)
        self.assertEqual(program.get("combo box", "Balanced").label, "Compression")
        program.choose_in_menu("Ovrel Help")
        program.get("heading", "How do I choose the quality?")
        self.hands.close(program.window)
        self.assertEqual(program.wait_for_end(), 0)

        again = self.start()
        again.get("label", "Drop your images here")
        self.assertTrue(again.get("radio button", "English").is_(CHECKED))
        again.get("radio button", "Русский").act("Toggle")
        again.get("label", "Перетащите файлы сюда")
        self.assertFalse(again.get("radio button", "English").is_(CHECKED))

    def test_is_light_and_dark_as_the_desktop_is_while_it_runs(self):
        portal = self.enterContext(contextlib.closing(Portal(self.desktop.bus_address, DARK)))
        program = self.start()
        self.hands.activate(program.window)
        for scheme, shown in [(None, DARK), (LIGHT, LIGHT), (DARK, DARK), (NO_PREFERENCE, LIGHT)]:
            with self.subTest(scheme):
                if scheme is not None:
                    portal.change(scheme)
                program.wait_for(lambda: self.ground(program) == GROUNDS[shown],
                                 lambda: f"{GROUNDS[shown]}, but {self.ground(program)}")

    def test_opens_help_and_about(self):
        program = self.start()
        for open_, role, title, text in [
            (lambda: program.press("F1"), "heading", "Ovrel Help / Справка Ovrel", "Как выбрать качество?"),
            (lambda: program.choose_in_menu("О приложении Ovrel"), "label", "Ovrel", f"Версия {VERSION}"),
        ]:
            with self.subTest(text):
                open_()
                program.get(role, text)
                program.wait_for(lambda: len(self.hands.windows(program.process.pid)) == 2, "the second window")
                window = self.hands.windows(program.process.pid)[1]
                self.assertEqual(self.hands.title(window), title)
                program.get("frame", title)
                self.hands.activate(window)
                self.hands.press("Escape")
                program.wait_for(lambda: program.find(role, text) is None, "a window that closes")
                self.assertEqual(self.hands.windows(program.process.pid), [program.window])
        self.assertIsNone(program.process.poll())

    def test_hands_the_files_of_a_second_start_to_the_first(self):
        program = self.start(self.picture("first.png"))
        program.wait_for_rows(["first.png, PNG"])
        self.picture("second.png")
        second = subprocess.run([PROGRAM, "second.png"], env=self.home.environment, cwd=self.home.pictures, timeout=60,
                                check=True, capture_output=True, text=True)
        self.assertEqual((second.stdout, second.stderr), ("", ""))
        program.wait_for_rows(["first.png, PNG", "second.png, PNG"])
        self.assertEqual(self.hands.windows(program.process.pid), [program.window])

    def test_shows_the_files_of_many_starts_at_once_in_one_window(self):
        names = [f"{number:02}.png" for number in range(20)]
        for name in names:
            self.picture(name)
        starts = [self.launch(name) for name in names]
        eventually(lambda: sum(start.poll() is None for start in starts) <= 1, "an end of all starts but one")
        [first] = [start for start in starts if start.poll() is None]
        program = Program(first, self.accessibility, self.hands)
        expected = sorted(f"{name}, PNG" for name in names)
        program.wait_for(lambda: sorted(program.rows() or []) == expected, lambda: f"{expected}, but {program.rows()}")
        self.assertEqual(self.hands.windows(first.pid), [program.window])
        for start in starts:
            self.assertEqual(start.messages(), "")
            self.assertEqual(start.poll(), None if start is first else 0)

    def test_shows_the_files_of_waiting_starts_in_one_window_when_the_first_one_dies(self):
        names = [f"{number}.png" for number in range(5)]
        for name in names:
            self.picture(name)
        first = self.start().process
        first.send_signal(signal.SIGSTOP)
        before = len(self.desktop.names())
        starts = [self.launch(name) for name in names]
        eventually(lambda: len(self.desktop.names()) >= before + len(starts), "starts that ask for the window")
        first.send_signal(signal.SIGKILL)
        eventually(lambda: sum(start.poll() is None for start in starts) <= 1, "an end of all starts but one")
        [next_one] = [start for start in starts if start.poll() is None]
        program = Program(next_one, self.accessibility, self.hands)
        expected = sorted(f"{name}, PNG" for name in names)
        program.wait_for(lambda: sorted(program.rows() or []) == expected, lambda: f"{expected}, but {program.rows()}")

    def test_opens_a_window_of_its_own_while_the_first_one_closes(self):
        program = self.start(self.picture("large.png", pictures.noise(4000, 3000)))
        self.assertIn(APPLICATION_ID, self.desktop.names())
        program.wait_for_rows(["large.png, PNG"])
        self.choose_results_folder(program)
        program.click("Преобразовать в AVIF")
        program.get("push button", "Остановить")
        self.hands.close(program.window)
        eventually(lambda: APPLICATION_ID not in self.desktop.names(), "a program that lets others be the first")
        self.assertIsNone(program.process.poll())
        second = self.start(self.picture("second.png"))
        second.wait_for_rows(["second.png, PNG"])
        self.assertEqual(program.wait_for_end(), 0)
        self.assertIsNone(second.process.poll())

    def test_ends_in_the_middle_of_a_run_when_it_is_asked_from_outside(self):
        program = self.start_long_run()
        program.process.send_signal(signal.SIGTERM)
        self.assertEqual(program.wait_for_end(), 0)
        self.assertLess(len(self.expect_whole_results()), MANY)

    def test_leaves_nothing_but_results_and_the_language(self):
        program = self.start(self.picture("one.png"))
        before = self.home.untouchable()
        program.get("radio button", "English").act("Toggle")
        program.get("radio button", "Русский").act("Toggle")
        self.choose_results_folder(program)
        self.convert(program, 1)
        program.press("F1")
        program.get("heading", "Как выбрать качество?")
        self.hands.close(program.window)
        self.assertEqual(program.wait_for_end(), 0)
        self.assertEqual(self.expect_whole_results(), ["one.avif"])
        self.assertEqual(self.home.untouchable(), before)

        # Where the desktop brings no dialog for files, Qt's own one is used, which remembers what it has shown.
        written = {str(path.relative_to(self.home.config)) for path in self.home.config.rglob("*") if path.is_file()}
        self.assertEqual(written - {"QtProject.conf"}, {"Ovrel/Ovrel.conf"})
        self.assertEqual([*self.home.state.iterdir()], [])
        kept = configparser.ConfigParser()
        kept.optionxform = str
        kept.read(self.home.config / "Ovrel" / "Ovrel.conf")
        self.assertEqual({section: dict(kept[section]) for section in kept.sections()},
                         {"General": {"OvrelLanguage": "ru"}})


if __name__ == "__main__":
    unittest.main()
