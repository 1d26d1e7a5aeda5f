// The pages of keys. Every printable ASCII character is on one of them, and every page leads to the
// others. Weights are relative widths within a row: a character key has 160.
import QtQuick
import QtQuick.VirtualKeyboard
import QtQuick.VirtualKeyboard.Components

KeyboardLayoutLoader {
    id: pages

    /** The page that a field opens on. */
    property Component firstPage: letters

    property Component letters: KeyboardLayout {
        keyWeight: 160

        KeyboardRow { Characters { text: "qwertyuiop" } }
        KeyboardRow {
            FillerKey { weight: 80 }
            Characters { text: "asdfghjkl" }
            FillerKey { weight: 80 }
        }
        KeyboardRow {
            ShiftKey { weight: 240 }
            Characters { text: "zxcvbnm" }
            BackspaceKey { weight: 240 }
        }
        LastRow {
            pageName: "123"
            characters: "@-"
            onTurned: pages.sourceComponent = pages.digits
        }
    }

    property Component digits: KeyboardLayout {
        keyWeight: 160

        KeyboardRow { Characters { text: "1234567890" } }
        KeyboardRow { Characters { text: "*#+-_@/&()" } }
        KeyboardRow {
            PageKey {
                displayText: "#+="
                onClicked: pages.sourceComponent = pages.symbols
            }
            Characters { text: ":;!?\"'$" }
            BackspaceKey { weight: 240 }
        }
        LastRow {
            pageName: "ABC"
            characters: ",%"
            onTurned: pages.sourceComponent = pages.letters
        }
    }

    property Component symbols: KeyboardLayout {
        keyWeight: 160

        KeyboardRow { Characters { text: "1234567890" } }
        KeyboardRow { Characters { text: "[]{}<>=^\\|" } }
        KeyboardRow {
            PageKey {
                displayText: "123"
                onClicked: pages.sourceComponent = pages.digits
            }
            Characters { text: "`~-_*#+" }
            BackspaceKey { weight: 240 }
        }
        LastRow {
            pageName: "ABC"
            characters: ",%"
            onTurned: pages.sourceComponent = pages.letters
        }
    }

    inputMethod: PlainInputMethod {}
    inputMode: InputEngine.InputMode.Latin
    sourceComponent: firstPage

    // Every field starts on its first page, every time.
    Connections {
        target: Qt.inputMethod
        function onVisibleChanged() { pages.sourceComponent = pages.firstPage }
    }
}
