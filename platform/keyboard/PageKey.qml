// A key that turns to another page.
import QtQuick.VirtualKeyboard.Components

Key {
    weight: 240
    functionKey: true
    highlighted: true
}
