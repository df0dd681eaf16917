// SPDX-License-Identifier: Apache-2.0
import QtQuick

// Text that can be selected and copied.
TextEdit {
    property string spoken: text

    textFormat: TextEdit.PlainText
    wrapMode: TextEdit.Wrap
    readOnly: true
    selectByMouse: true
    selectByKeyboard: true
    activeFocusOnTab: false // who wants all of it finds a button for that
    color: Theme.text
    selectionColor: Theme.accentFill
    selectedTextColor: Theme.accentText
    font.family: Theme.sans
    font.pixelSize: Theme.bodySize

    Accessible.role: Accessible.StaticText
    Accessible.name: spoken
}
