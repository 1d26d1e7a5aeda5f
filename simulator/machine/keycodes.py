"""QEMU key codes of a US keyboard, for characters and for the names of keys and chords."""

PLAIN = {" ": "spc", "-": "minus", "=": "equal", "[": "bracket_left", "]": "bracket_right",
         "\\": "backslash", ";": "semicolon", "'": "apostrophe", "`": "grave_accent",
         ",": "comma", ".": "dot", "/": "slash", "\n": "ret", "\t": "tab"}
SHIFTED = {"~": "`", "!": "1", "@": "2", "#": "3", "$": "4", "%": "5", "^": "6", "&": "7",
           "*": "8", "(": "9", ")": "0", "_": "-", "+": "=", "{": "[", "}": "]", "|": "\\",
           ":": ";", '"': "'", "<": ",", ">": ".", "?": "/"}
# Qt's key names, which are accepted in addition to QEMU's own.
NAMES = {"enter": "ret", "return": "ret", "escape": "esc", "del": "delete", "ins": "insert",
         "space": "spc", "pgup": "pgup", "pgdown": "pgdn", "backspace": "backspace"}


def keys_of(character: str) -> list[str]:
    """
    Return the key codes that type a character when they are pressed together.

    @raise ValueError for a character that a US keyboard cannot type
    """
    if character in SHIFTED:
        return ["shift", *keys_of(SHIFTED[character])]
    if character in PLAIN:
        return [PLAIN[character]]
    if character.isascii() and character.isalnum():
        return ["shift", character.lower()] if character.isupper() else [character]
    raise ValueError(f"a US keyboard has no key for {character!r}")


def chord(name: str) -> list[str]:
    """Return the key codes of a key or chord, such as "Tab", "Ctrl+A" or "Shift+Left"."""
    if len(name) == 1:
        return keys_of(name)
    parts = name.split("+")
    return [NAMES.get(part.lower()) or PLAIN.get(part) or part.lower() for part in parts]
