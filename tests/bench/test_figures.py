"""The rows and the page of ./bench."""

import unittest

from bench.measures import Pairs
from bench.rows import NATIVE, OPENING, Row, line, page


class Figures(unittest.TestCase):
    def test_line(self) -> None:
        slow_round = [(10.0, 10.0), (90.0, 60.0), (12.0, 10.0)]
        rows: list[tuple[Row, Pairs, str]] = [
            (Row("", "what, ms", 1.2, "less"), slow_round,
             "| what, ms | 12 | less | 10 | 1.200 | 1.2 | met |"),
            (Row("", "what, ms", 1.1, "less"), slow_round,
             "| what, ms | 12 | less | 10 | 1.200 | 1.1 | **missed** |"),
            (Row("", "what", 0, "less", True), slow_round,
             "| what | 12 | less | 10 | +2 | 0 | **missed** |"),
            (Row("", "what", None, "less", True), [(2.3, 2.3)],
             "| what | 2.3 | less | 2.3 | +0 |  |  |"),
            (Row("", "what", 30), [(2.345, 0)], "| what | 2.35 |  |  |  | 30 | met |")]
        for row, pairs, shown in rows:
            with self.subTest(shown):
                self.assertEqual(line(row, pairs), shown)

    def test_page_keeps_what_was_not_measured_again(self) -> None:
        (_, (first, second)), *_ = NATIVE
        lines = [line(row, [(1, 2)]) for row in (first, second)]
        text = page("| a row that is gone | 1 |\n", lines[:1], "day one")
        text = page(text, lines[1:], "day two")
        self.assertTrue(text.startswith(OPENING))
        for count, part in ((1, lines[0]), (1, lines[1]), (0, "gone"), (0, "day one"),
                            (1, "day two")):
            with self.subTest(part):
                self.assertEqual(text.count(part), count)


if __name__ == "__main__":
    unittest.main()
