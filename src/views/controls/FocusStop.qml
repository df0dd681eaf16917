// SPDX-License-Identifier: Apache-2.0
import QtQuick

// Something that takes the keyboard as a whole: a list, a row of tabs. The ring is for people who came
// by keyboard or go on with it; a press of the pointer says so with focusByPointer().
Item {
    id: root

    property bool pointerFocus
    readonly property bool visualFocus: activeFocus && !pointerFocus

    function focusByPointer() {
        pointerFocus = true;
        forceActiveFocus(Qt.MouseFocusReason);
    }

    activeFocusOnTab: true
    onActiveFocusChanged: pointerFocus = pointerFocus && activeFocus
}
