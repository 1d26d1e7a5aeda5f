// The look of the on-screen keyboard: the panel's own colours, characters as large as the keys allow.
// Signs are characters of the panel's font, so that no image has to be loaded.
import QtQuick
import QtQuick.VirtualKeyboard
import QtQuick.VirtualKeyboard.Styles

KeyboardStyle {
    keyboardDesignWidth: 2560
    keyboardDesignHeight: 800
    keyboardRelativeLeftMargin: 0
    keyboardRelativeRightMargin: 0
    keyboardRelativeTopMargin: 0
    keyboardRelativeBottomMargin: 0

    keyboardBackground: Rectangle { color: "#848484" }

    keyPanel: KeyFace {
        text: {
            if (!control)
                return ""
            return control.uppercased ? control.displayText.toUpperCase() : control.displayText
        }
    }
    backspaceKeyPanel: KeyFace { text: "\u2190" }
    enterKeyPanel: KeyFace { text: "\u21B5" }
    hideKeyPanel: KeyFace { text: "\u25BC" }
    shiftKeyPanel: KeyFace {
        text: InputContext.capsLockActive ? "\u25B2" : "\u2191"
        lit: InputContext.capsLockActive || InputContext.shiftActive
    }
    spaceKeyPanel: KeyFace { text: "" }

    // Nothing repeats what was typed: no bubble, no candidates.
    characterPreviewDelegate: null
    selectionListHeight: 0
}
