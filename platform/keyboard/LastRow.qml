// The lowest row of every page: another page, the space bar, and the ends of typing.
import QtQuick.VirtualKeyboard.Components

KeyboardRow {
    id: row

    property string pageName
    property string characters
    signal turned()

    PageKey {
        displayText: row.pageName
        onClicked: row.turned()
    }
    Characters { text: row.characters }
    SpaceKey {
        weight: 480
        showPreview: false
    }
    Characters { text: "." }
    HideKeyboardKey {}
    EnterKey { weight: 240 }
}
