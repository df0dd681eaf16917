// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// Asks before a running session's edit log is lost.
Sheet {
    id: root

    title: qsTr("End the session?")
    onOpened: {
        stay.forceActiveFocus();
        stay.focusReason = Qt.TabFocusReason;
    }

    TextLabel {
        Layout.fillWidth: true
        text: qsTr("The list of edits is kept only while this window is open. Copy it on the Edits page to keep it.")
        wrapMode: Text.Wrap
        elide: Text.ElideNone
    }
    buttons: [
        AppButton {
            text: qsTr("End Session")
            onClicked: root.confirmed()
        },
        AppButton {
            id: stay

            text: qsTr("Keep Working")
            prominent: true
            onClicked: root.close()
        }
    ]
}
