#!/usr/bin/env python3
"""Checks script/mutants itself: what it changes in samples of code and what it leaves alone, how it
tells a killed mutant from one that lives, and that each entry of explained.txt fits a mutant."""

import sys
import unittest

sys.dont_write_bytecode = True
import operators  # noqa: E402
from judging import Verdict, cage, judge  # noqa: E402
from listed import HERE, Refused, read_explained, read_files, stale  # noqa: E402


def changes(source: str) -> list[str]:
    """Returns the mutants of a text, each as the one line that the text becomes."""
    return [" ".join(mutant.text(source).split()) for mutant in operators.mutants(source)]


class Operators(unittest.TestCase):
    def expect(self, source: str, *mutants: str) -> None:
        self.assertEqual(sorted(changes(source)), sorted(mutants), source)

    def test_operators(self):
        self.expect("x = [&] { y(a < b); };", "x = [&] { y(a <= b); };", "x = [&] { ; };")
        self.expect("int f(a >= b)", "int f(a > b)")
        self.expect("int f(a == b && c)", "int f(a != b && c)", "int f(a == b || c)")
        self.expect("int f(a +\n b)", "int f(a - b)")
        self.expect("int f(a << b, c & d)", "int f(a >> b, c & d)", "int f(a << b, c | d)")
        self.expect("int f(--a, !b)", "int f(++a, !b)", "int f(--a, b)")

    def test_constants(self):
        self.expect("int a{0};", "int a{1};")
        self.expect("int a{1'000U};", "int a{1001U};", "int a{999U};")
        self.expect("int a{0xFF};", "int a{0x100};", "int a{0xfe};")
        self.expect("bool a{true};", "bool a{false};")

    def test_conditions(self):
        self.expect("if (f(a)) {\n}", "if (!(f(a))) { }")
        self.expect("if (!a) {\n}", "if (a) { }")
        self.expect("if (a == b) {\n}", "if (a != b) { }")
        self.expect("if (const auto a = f()) {\n}", "if (const auto a = f(); !a) { }")
        self.expect("if (const Descriptor a{f()}) {\n}", "if (const Descriptor a{f()}; !a) { }")
        self.expect("if (const auto a = f(); a.b) {\n}", "if (const auto a = f(); !(a.b)) { }")
        self.expect("while (true) {\n}", "while (false) { }")

    def test_operands_of_a_choice(self):
        self.expect("int a{b ? c : d};", "int a{b ? d : c};")
        self.expect("int a{b ? c(e, f) : (g ? h : i)};",
                    "int a{b ? (g ? h : i) : c(e, f)};", "int a{b ? c(e, f) : (g ? i : h)};")

    def test_dropped_statements(self):
        self.expect("void f() {\n    g(a);\n}", "void f() { ; }")
        self.expect("void f() {\n    a->g(\n        a, [] { h(); });\n}",
                    "void f() { ; }", "void f() { a->g( a, [] { ; }); }")
        self.expect("void f() {\n    static_cast<void>(a());\n    ::g(b);\n}",
                    "void f() { ; ::g(b); }", "void f() { static_cast<void>(a()); ; }")
        self.expect("switch (a) {\ncase b:\n    a_ = c;\n}", "switch (a) { case b: ; }")

    def test_returned_values(self):
        self.expect("text f() {\n    return g();\n}", "text f() { return {}; }")
        self.expect("text f() {\n    return Wording{a, b};\n}", "text f() { return {}; }")
        self.expect("bool f() {\n    return g();\n}", "bool f() { return true; }",
                    "bool f() { return false; }")
        self.expect("text f() {\n    co_return a;\n}", "text f() { co_return {}; }")
        self.expect("text f() {\n    return std::nullopt;\n}")

    def test_what_is_no_code(self):
        self.expect('#include <a + b>\n// if (a < 1) { f(); }\n/* a == b */\ntext a{"b == 1"};')
        self.expect("char a{'1'};\nraw b{R\"(a == 1)\"};")
        self.expect("static_assert(sizeof a == 1);\n[[deprecated(1)]] int b;")
        self.expect("#define A \\\n    (b == 1)\nusing c = std::array<int, 1>;")
        self.expect("f(std::vector<int>&& a, T* b) -> text;")

    def test_numbers_keep_their_separators_apart_from_characters(self):
        self.expect("f(1'000, 'a', b < c)", "f(1001, 'a', b < c)", "f(999, 'a', b < c)",
                    "f(1'000, 'a', b <= c)")


class Judging(unittest.TestCase):
    def verdict(self, script: str, longest: float = 60) -> Verdict:
        return judge(["sh", "-c", script], longest)

    def test_verdicts(self):
        self.assertEqual(self.verdict("true"), Verdict("lives"))
        self.assertEqual(self.verdict("echo '[ RUN      ] A.B'; echo '[ RUN      ] C/D.E/1'; exit 1"),
                         Verdict("killed", "C/D.E/1"))
        self.assertEqual(self.verdict("echo '[  FAILED  ] A.B (1 ms)'; echo '[ RUN      ] C.D'; exit 1"),
                         Verdict("killed", "A.B"))
        self.assertEqual(self.verdict("kill -SEGV $$"), Verdict("killed", "exit status 139"))
        self.assertEqual(self.verdict("sleep 60", 0.2), Verdict("killed", "a hang"))

    def test_a_mutant_reaches_no_process_but_its_own(self):
        try:
            cage()
        except Refused:
            return  # then no mutant is run
        self.assertEqual(self.verdict("kill -KILL -1; exit 3"),
                         Verdict("killed", "exit status 3"))


class Explanations(unittest.TestCase):
    entry = "MCPStdio/json/JSONReader.cpp JSONReader::read\n- if (end != text_.size()) {\n"

    def test_all_entries_fit(self):
        files = read_files()
        self.assertGreater(sum(len(file.mutants) for file in files), 1000)
        explained = read_explained((HERE / "explained.txt").read_text(encoding="utf-8"))
        self.assertEqual(stale(explained, files), [])

    def test_an_entry_that_fits_no_mutant_is_found(self):
        files = read_files()
        for after, is_stale in ("if (end == text_.size()) {", False), ("if (end) {", True):
            explained = read_explained(f"# comment\n{self.entry}+ {after}\nwhy\n")
            self.assertEqual(len(stale(explained, files)), int(is_stale))

    def test_an_entry_without_a_reason_is_refused(self):
        for text in (self.entry + "+ a\n", self.entry + "why\n", "a b\nwhy\n",
                     f"{self.entry}+ a\nwhy\n\n{self.entry}+ a\nwhy\n"):
            with self.assertRaises(Refused):
                read_explained(text)


if __name__ == "__main__":
    unittest.main()
