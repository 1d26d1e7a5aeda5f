// Keys in a row, one for each character of a text.
import QtQuick
import QtQuick.VirtualKeyboard.Components

Repeater {
    property string text

    model: text.split("")
    Key {
        text: modelData
        showPreview: false // It may be a character of a password.
    }
}
