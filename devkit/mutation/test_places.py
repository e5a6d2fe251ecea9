#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""test_places.py: scopes are found by their names, and pieces in them whatever the layout."""
import os
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.realpath(__file__)))
from places import Source, Tree, Unclear  # noqa: E402

CODE = r"""
#include <x>
#define TWICE(a) do { f(a); } while (0)
namespace one::two {
namespace {
constexpr int LIMIT_MS = 600;  // constexpr int LIMIT_MS = 700;
const Entry TABLE[] = {{1, "a{"}, {2, "b"}};
enum class Kind : std::uint32_t { First = 1, Second = 2 };
}  // namespace

struct CAPABILITY("x") [[nodiscard]] Outer : Base {
    struct Inner {
        int value() const { return mValue; }
        int mValue{0};
    };
    Outer() : mOne{1}, mTwo(2) { open(); }
    ~Outer();
    static constexpr int SIZE = 4;
    std::string mText = "}";
};

Outer::~Outer() {
    if (isOpen()) close();
}

template <typename T, std::vector<std::vector<int>> V>
bool List<T>::add(T item) REQUIRES(mLock) {
    for (auto& each : mItems) {
        if (each == item) return false;
    }
    const auto found = [&](int a) { return a > 1'000; };
    return found(1) && found(2);
}

template <typename T, int SIZE>
constexpr bool PLAIN<T[SIZE]> = PLAIN<T>;
template <>
int made<Kind>(int a) { return a > 3; }

bool operator==(const Kind& a, const Kind& b) { return a.x == b.x; }
struct timespec now() { return {}; }
int over(int) { return 1; }
int over(long) { return 2; }
}  // namespace one::two
"""


class Scopes(unittest.TestCase):
    def setUp(self):
        self.source = Source(CODE)

    def text_of(self, name):
        return [CODE[self.source.tokens[first].begin:self.source.tokens[last - 1].end]
                for first, last in self.source.ranges(name)]

    def test_have_the_names_of_functions_types_and_constants(self):
        self.assertEqual(set(self.source.scopes), {
            "LIMIT_MS", "TABLE", "Kind", "Outer", "Outer::Inner", "Outer::Inner::value",
            "Outer::Inner::mValue", "Outer::Outer", "Outer::SIZE", "Outer::mText", "Outer::~Outer", "List::add",
            "PLAIN", "made", "operator==", "now", "over"})

    def test_reach_from_the_declaration_to_the_brace_or_semicolon(self):
        self.assertEqual(self.text_of("LIMIT_MS"), ["constexpr int LIMIT_MS = 600;"])
        self.assertEqual(self.text_of("Outer::~Outer"),
                         ["Outer::~Outer() {\n    if (isOpen()) close();\n}"])
        self.assertEqual(self.text_of("Outer::Outer"),
                         ["Outer() : mOne{1}, mTwo(2) { open(); }"])
        self.assertTrue(self.text_of("List::add")[0].startswith("template <typename T"))
        self.assertTrue(self.text_of("List::add")[0].endswith("found(2);\n}"))

    def test_of_overloads_are_several(self):
        self.assertEqual(len(self.text_of("over")), 2)

    def test_that_are_not_there_are_empty(self):
        self.assertEqual(self.text_of("close"), [])


class Pieces(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.TemporaryDirectory()
        self.addCleanup(self.root.cleanup)
        self.write("a.cpp", CODE)
        self.write("b.cpp", "int over(char) {\n    // x\n    return 3;  // three\n}\n")

    def write(self, name, text):
        os.makedirs(os.path.join(self.root.name, "src"), exist_ok=True)
        with open(os.path.join(self.root.name, "src", name), "w", encoding="utf-8") as file:
            file.write(text)

    def mutated(self, place, old, new):
        return Tree(self.root.name, ["src"]).mutated(place, old, new)

    def test_are_found_in_any_layout(self):
        path, text = self.mutated("List::add", "if(each==item)  return false;", "")
        self.assertEqual(path, "src/a.cpp")
        self.assertEqual(text, CODE.replace("        if (each == item) return false;\n", ""))

    def test_are_found_in_the_file_that_has_the_function(self):
        self.assertEqual(self.mutated("over", "return 3", "return 4"),
                         ("src/b.cpp", "int over(char) {\n    // x\n    return 4;  // three\n}\n"))

    def test_keep_the_layout_of_what_stays(self):
        self.assertEqual(self.mutated("src/b.cpp", "char) { return 3; }", "char) { return 33; }")[1],
                         "int over(char) {\n    // x\n    return 33;  // three\n}\n")

    def test_get_insertions_at_either_end(self):
        self.assertEqual(self.mutated("Kind", "Second", "Second, Third")[1],
                         CODE.replace("Second = 2", "Second, Third = 2"))
        self.assertEqual(self.mutated("LIMIT_MS", "int LIMIT_MS", "unsigned int LIMIT_MS")[1],
                         CODE.replace("int LIMIT_MS = 600", "unsigned int LIMIT_MS = 600"))

    def test_that_stand_twice_are_refused(self):
        with self.assertRaisesRegex(Unclear, "stands 2 times in List::add"):
            self.mutated("List::add", "found(", "lost(")
        with self.assertRaisesRegex(Unclear, "stands 3 times in over"):
            self.mutated("over", "return", "break")

    def test_that_stand_in_one_of_two_functions_of_a_name_are_told_by_the_file(self):
        with self.assertRaisesRegex(Unclear, "stands 2 times"):
            self.mutated("src/a.cpp: over", "return", "break")
        self.assertEqual(self.mutated("src/b.cpp: over", "return", "break")[0], "src/b.cpp")

    def test_outside_of_their_place_are_not_found(self):
        with self.assertRaisesRegex(Unclear, "stands 0 times"):
            self.mutated("now", "close()", "open()")
        with self.assertRaisesRegex(Unclear, "stands 0 times"):
            self.mutated("src/c.cpp: over", "return", "break")

    def test_in_comments_and_texts_are_not_found(self):
        with self.assertRaisesRegex(Unclear, "stands 0 times"):
            self.mutated("LIMIT_MS", "700", "800")
        with self.assertRaisesRegex(Unclear, "stands 0 times"):
            self.mutated("TABLE", "a{", "b{")

    def test_without_a_change_are_refused(self):
        with self.assertRaisesRegex(Unclear, "nothing is changed"):
            self.mutated("now", "return", " return")


if __name__ == "__main__":
    unittest.main()
