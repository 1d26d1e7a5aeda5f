"""The screen's texts in each language, read from the program's translation sources."""

from xml.etree import ElementTree

from host.paths import TRANSLATIONS

CODES = {1: "zh_TW", 2: "zh_CN"}  # by language parameter; every other value is English


class Texts:
    """Translates English texts; a text without a translation stays English."""

    def __init__(self, language: int) -> None:
        self._translations: dict[str, str] = {}
        if language in CODES:
            tree = ElementTree.parse(TRANSLATIONS / f"corvanta_{CODES[language]}.ts")
            self._translations = {entry.findtext("source", ""): entry.findtext("translation", "")
                                  for entry in tree.iter("message")}

    def __call__(self, english: str) -> str:
        return self._translations.get(english) or english
