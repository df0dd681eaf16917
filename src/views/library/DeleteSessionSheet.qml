// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// Asks before a session's record is deleted.
Sheet {
    id: root

    required property string text

    title: qsTr("Delete the session?")
    onOpened: {
        keep.forceActiveFocus();
        keep.focusReason = Qt.TabFocusReason;
    }

    TextLabel {
        Layout.fillWidth: true
        text: root.text
        wrapMode: Text.Wrap
        elide: Text.ElideNone
    }
    buttons: [
        AppButton {
            text: qsTr("Delete")
            onClicked: root.confirmed()
        },
        AppButton {
            id: keep

            text: qsTr("Keep")
            prominent: true
            onClicked: root.close()
        }
    ]
}
