"""The panel's texts in each language, from the program's own translation sources."""

import xml.etree.ElementTree as ElementTree

from .paths import TRANSLATIONS

CODES = {1: "zh_TW", 2: "zh_CN"}  # by language parameter; every other value is English


class Texts:
    """English texts as the panel shows them in a language; without an entry, as they are."""

    def __init__(self, language: int) -> None:
        self._translations: dict[str, str] = {}
        if language in CODES:
            tree = ElementTree.parse(TRANSLATIONS / f"corvanta_{CODES[language]}.ts")
            for message in tree.iter("message"):
                source, text = message.findtext("source"), message.findtext("translation")
                self._translations[str(source)] = str(text)

    def __call__(self, english: str) -> str:
        return self._translations.get(english, english)
