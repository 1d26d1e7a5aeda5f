// The keys of the on-screen keyboard, as wide as the panel and as high as the style makes them.
import QtQuick
import QtQuick.VirtualKeyboard
import QtQuick.VirtualKeyboard.Settings

Item {
    id: panel

    /** In pixels; 0 until the keys are there. */
    readonly property real keysHeight: keys.item ? keys.item.implicitHeight : 0

    // The settings come first: what they replace would be loaded for nothing.
    Component.onCompleted: {
        VirtualKeyboardSettings.layoutPath = Qt.resolvedUrl("layouts")
        VirtualKeyboardSettings.styleName = "corvanta"
        VirtualKeyboardSettings.locale = "en_GB"
        VirtualKeyboardSettings.defaultInputMethodDisabled = true
        VirtualKeyboardSettings.handwritingModeDisabled = true
        keys.active = true
    }

    Loader {
        id: keys
        active: false
        width: panel.width
        sourceComponent: InputPanel {}
    }
}
