"""The bench's readers and estimators, with texts as the kernel and callgrind write them."""

import unittest

from benchmark import estimate, journal, table
from benchmark.estimate import Judge, Pairs
from benchmark.rows import NATIVE, Row

SMAPS = """\
55e0-55e1 r-xp 00000000 00:1b 11 /usr/lib/libQt6Core.so.6.4.2
Rss:                 100 kB
Anonymous:             4 kB
VmFlags: rd ex mr mw me
7f00-7f01 rw-s 00000000 00:2a 12 /dev/fb0
Rss:                1500 kB
Anonymous:            50 kB
7f02-7f03 rw-p 00000000 00:00 0
Rss:                  60 kB
Anonymous:            60 kB
7f04-7f05 r--p 00000000 00:1b 13 /usr/lib/a b.so.1
Rss:                   8 kB
Anonymous:             0 kB
"""
CALLGRIND = "version: 1\nevents: Ir\nfn=(1) main\n1 7\n\ntotals: 117647273\n"


class Figures(unittest.TestCase):
    def test_outcome(self) -> None:
        slow_round = [(10.0, 10.0), (90.0, 60.0), (12.0, 10.0)]
        for judge, judged in ((Judge.RATIO, 1.2), (Judge.EXCESS, 2.0), (Judge.FIGURE, 12.0)):
            with self.subTest(judge):
                found = estimate.outcome(judge, slow_round)
                self.assertEqual((found.program, found.judged), (12.0, judged))
                self.assertEqual(found.other, None if judge is Judge.FIGURE else 10.0)

    def test_memory_counts_each_mapping_but_those_left_out(self) -> None:
        self.assertEqual(estimate.memory(SMAPS, ("/dev/fb",)), (168, 64))
        self.assertEqual(estimate.memory(SMAPS), (1668, 114))

    def test_libraries(self) -> None:
        self.assertEqual(estimate.libraries(SMAPS),
                         {"/usr/lib/libQt6Core.so.6.4.2", "/usr/lib/a b.so.1"})

    def test_instructions(self) -> None:
        self.assertEqual(estimate.instructions(CALLGRIND), 117647273)
        with self.assertRaises(ValueError):
            estimate.instructions(CALLGRIND.partition("totals")[0])

    def test_journal(self) -> None:
        entries = [(100, 110, 5, 0, 0, 0), (140, 150, 6, 3, 20, 0), (155, 0, 7, 3, -1, 1)]
        written = journal.HEADER.pack(3) + b"".join(journal.ENTRY.pack(*one) for one in entries)
        waits = journal.read(written + bytes(journal.ENTRY.size))
        self.assertEqual([wait.idle for wait in waits], [False, False, True])
        self.assertEqual(waits[1].processor, 9)
        self.assertEqual(journal.longest_gap(waits), 30)
        self.assertEqual(journal.longest_gap(waits[:1]), 0)


class Table(unittest.TestCase):
    def row(self, judge: Judge, bound: float | None) -> Row:
        return Row("name", "what, ms", "less", judge, bound, lambda _: [])

    def test_line(self) -> None:
        rows: list[tuple[Judge, float | None, Pairs | str, str]] = [
            (Judge.RATIO, 1.5, [(3.0, 2.0)],
             "| what, ms | 3 | less | 2 | 1.500 | 1.5 | met |"),
            (Judge.RATIO, 1.4, [(3.0, 2.0)],
             "| what, ms | 3 | less | 2 | 1.500 | 1.4 | **missed** |"),
            (Judge.EXCESS, 0, [(70.0, 61.0)],
             "| what, ms | 70 | less | 61 | +9 | 0 | **missed** |"),
            (Judge.FIGURE, None, [(2.345, 0.0)], "| what, ms | 2.35 | less |  |  |  |  |"),
            (Judge.RATIO, 1, "no keys", "| what, ms |  | less |  |  | 1 | no keys |")]
        for judge, bound, found, line in rows:
            with self.subTest(line):
                self.assertEqual(table.line(self.row(judge, bound), found), line)

    def test_page_keeps_what_was_not_measured_again(self) -> None:
        first, second, *_ = (table.line(row, [(1.0, 2.0)]) for row in NATIVE)
        page = table.renewed("old\n", [first], "day one")
        page = table.renewed(page, [second], "day two")
        for count, text in ((1, first), (1, second), (0, "old"), (0, "day one"), (1, "day two"),
                            (1, table.OPENING)):
            with self.subTest(text):
                self.assertEqual(page.count(text), count)
        self.assertIn("not measured yet", page)


if __name__ == "__main__":
    unittest.main()
