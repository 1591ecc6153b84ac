#!/usr/bin/env python3
"""Tests of the include check: each rule lets the right through and refuses the wrong."""

import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import check_includes  # noqa: E402


def problems(path, text):
    return check_includes.check_file(path, text, lambda name: not name.startswith("gone"))


class CheckIncludesTest(unittest.TestCase):
    def allowed(self, path, *includes):
        for include in includes:
            self.assertEqual(problems(path, f"#include {include}\n"), [], f"{path} {include}")

    def refused(self, path, *includes):
        for include in includes:
            found = problems(path, f"// one\n#include {include}\n")
            self.assertEqual(len(found), 1, f"{path} {include}")
            self.assertTrue(found[0].startswith(f"{path}:2: "), found[0])

    def test_declarations_stand_by_themselves(self):
        self.allowed("host/base/string.h", "<string>", '"host/export.h"')
        self.refused("host/base/string.h", '"tavhost/base/trace.h"', '"commands/support/results.h"',
                     "<boost/asio.hpp>", "<unistd.h>", "<windows.h>", "<QString>")
        self.allowed("host/windows/files.h", "<windows.h>")

    def test_declarations_stand_on_the_floors_of_their_rooms(self):
        self.allowed("host/dialog/view_box.h", '"host/sv/window.h"', '"host/base/size.h"')
        self.refused("host/base/string.h", '"host/sv/window.h"')
        self.refused("host/notation/kel_value.h", '"host/script/script.h"')

    def test_commands_know_the_declarations(self):
        self.allowed("commands/files.cpp", "<vector>", '"host/base/string.h"',
                     '"commands/support/results.h"', '"commands/handlers.h"')
        self.refused("commands/files.cpp", '"plugin/table.h"', '"tavhost/base/trace.h"',
                     "<nlohmann/json.hpp>", "<windows.h>", "<dirent.h>", "<QFile>")

    def test_the_plugin_knows_the_handlers(self):
        self.allowed("plugin/table.cpp", '"commands/handlers.h"', '"plugin/table.h"',
                     '"host/script/script_result.h"')
        self.allowed("plugin/module_windows.cpp", "<windows.h>")
        self.refused("plugin/table.cpp", '"tavhost/ui/toolkit.h"', "<nlohmann/json.hpp>")

    def test_rooms_know_lower_ones(self):
        self.allowed("tavhost/script/syntax/parser.cpp", '"tavhost/notation/value.h"', "<utf8.h>",
                     '"tavhost/base/trace.h"', '"tavhost/script/lexer.h"',
                     '"host/notation/kel_value.h"')
        self.refused("tavhost/notation/value.cpp", '"tavhost/script/syntax/parser.h"',
                     '"tavhost/headless/answers.h"', '"commands/handlers.h"',
                     '"plugin/table.h"', '"tavhost/app/options.h"', '"tavhost/loader/loader.h"')
        self.allowed("tavhost/windows/find.cpp", '"tavhost/base/trace.h"', "<dirent.h>")
        self.refused("tavhost/base/trace.cpp", '"tavhost/windows/find.h"')
        self.refused("tavhost/windows/find.cpp", '"tavhost/files/files.h"', "<windows.h>")

    def test_rooms_know_only_what_they_need(self):
        self.refused("tavhost/script/engine.cpp", '"tavhost/ui/toolkit.h"')
        self.refused("tavhost/loader/plugin.cpp", '"tavhost/dialog/text_control.h"')
        self.refused("tavhost/analysis/check.cpp", '"tavhost/sv/modal.h"', '"tavhost/headless/a.h"')
        self.refused("tavhost/qt/output_view.cpp", '"tavhost/script/runner.h"')

    def test_what_is_no_room_is_refused(self):
        self.refused("tavhost/misc/a.cpp", '"tavhost/base/trace.h"')
        self.refused("tavhost/app/run.cpp", '"tavhost/misc/a.h"')

    def test_no_room_reaches_up(self):
        self.assertEqual(check_includes.rooms_problems(), [])
        check_includes.ROOMS["base"] = ("app",)
        try:
            self.assertEqual(check_includes.rooms_problems(),
                             ["cmake/HostLibrary.cmake: base would reach up to app"])
        finally:
            check_includes.ROOMS["base"] = ()

    def test_back_ends_loader_and_program(self):
        self.allowed("tavhost/headless/answers.cpp", '"tavhost/ui/models/list_box_model.h"')
        self.refused("tavhost/headless/answers.cpp", '"tavhost/loader/loader.h"',
                     '"tavhost/qt/theme.h"', "<QWidget>")
        self.refused("tavhost/ui/toolkit.h", '"tavhost/dialog/list_box.h"')
        self.allowed("tavhost/app/run.cpp", '"tavhost/loader/loader.h"', '"tavhost/tools/a.h"',
                     "<nlohmann/json.hpp>")
        self.refused("tavhost/loader/plugin.cpp", '"tavhost/app/run.h"')
        self.refused("tavhost/app/run.cpp", '"tavhost/qt/module.h"', "<QApplication>",
                     "<QtWidgets/QDialog>", '"plugin/table.h"')

    def test_qt_has_its_room(self):
        self.allowed("tavhost/qt/main_window.cpp", "<QWidget>", "<QtGui/QFont>",
                     '"tavhost/ui/models/list_box_model.h"', '"main_window.moc"')
        self.allowed("tavhost/qt/ide/editor.cpp", "<QPlainTextEdit>", '"tavhost/ide/history.h"')
        self.allowed("tavhost/ide/history.cpp", '"tavhost/ide/history.h"')
        self.refused("tavhost/ide/history.cpp", "<QString>", '"tavhost/ui/toolkit.h"',
                     '"tavhost/qt/shown_text.h"')
        self.refused("tavhost/qt/main_window.cpp", '"tavhost/app/run.h"')

    def test_platform_headers_have_their_files(self):
        self.allowed("tavhost/files/disk_posix.cpp", "<unistd.h>", "<sys/stat.h>")
        self.allowed("tavhost/files/disk_windows.cpp", "<windows.h>", "<winhttp.h>", "<io.h>")
        self.refused("tavhost/files/disk.cpp", "<unistd.h>", "<sys/stat.h>", "<windows.h>")
        self.refused("tavhost/files/disk_posix.cpp", "<windows.h>")
        self.refused("tavhost/files/disk_windows.cpp", "<unistd.h>")

    def test_paths_start_at_the_top_folder(self):
        self.refused("tavhost/base/string.cpp", '"gone/string.h"')

    def test_detours_are_refused(self):
        self.refused("tavhost/base/string.cpp", '"tavhost/base/../service/address.h"',
                     '"tavhost/base/./trace.h"', '"tavhost/base//trace.h"')
        self.refused("commands/files.cpp", '"commands/../tavhost/base/report.h"')

    def test_other_forms_of_an_include_are_refused(self):
        for line in ('#include/**/"tavhost/service/address.h"', "#include_next <string>",
                     '#import "tavhost/base/trace.h"', "#include HEADER",
                     '# \\\n include "tavhost/base/trace.h"'):
            found = problems("tavhost/base/string.cpp", line + "\n")
            self.assertTrue(found, line)

    def test_unknown_headers_are_refused(self):
        self.refused("tavhost/base/string.cpp", "<openssl/ssl.h>", "<made_up>")

    def test_platform_conditionals(self):
        for line in ("#ifdef _WIN32", "#  if defined(__linux__)", "#ifndef _WIN32",
                     "#elif defined(_MSC_VER)", "#elifdef _WIN32",
                     "#if defined( \\\n _WIN32)", "#if 1 && defined( _WIN64 )"):
            self.assertEqual(len(problems("commands/files.cpp", line + "\n")), 1, line)
            self.assertEqual(len(problems("tavhost/sv/a.h", line + "\n")), 1, line)
            for path in ("host/export.h", "host/windows/files.h", "tavhost/sv/a_posix.cpp"):
                self.assertEqual(problems(path, line + "\n"), [])
        self.assertEqual(problems("tavhost/sv/a.h", "#ifdef __AVX2__\n// _WIN32\n"), [])

    def test_the_tree_itself_is_read(self):
        self.assertIn("host/export.h", check_includes.sources())


if __name__ == "__main__":
    unittest.main()
