// How one key looks: a text on a rounded field, both fainter while the key is pressed or disabled.
import QtQuick
import QtQuick.VirtualKeyboard.Styles

KeyPanel {
    id: face

    property string text: control ? control.displayText : ""
    property bool lit: false ///< Like a lamp: the key's function is on.

    Rectangle {
        anchors { fill: parent; margins: Math.max(1, Math.round(face.height / 24)) }
        radius: 4
        opacity: face.control && face.control.pressed ? 0.5 : 1
        color: face.lit ? "#8080C0"
                        : face.control && face.control.highlighted ? "#C4C7CB" : "#FAFAFA"
        border { width: 1; color: "#848484" }

        Text {
            anchors.centerIn: parent
            text: face.text
            color: "black"
            opacity: face.control && face.control.enabled ? 1 : 0.3
            font.pixelSize: Math.round(face.height * 0.5)
            // A word is wider than a character; it must fit too.
            scale: Math.min(1, parent.width * 0.85 / Math.max(1, implicitWidth))
        }
    }
}
