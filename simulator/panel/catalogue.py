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
            for message in tree.iter("message"):
                source, text = message.findtext("source"), message.findtext("translation")
                if source and text:
                    self._translations[source] = text

    def __call__(self, english: str) -> str:
        return self._translations.get(english, english)
