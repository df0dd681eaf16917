// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// Asks before a running session ends with its window.
Sheet {
    id: root

    required property string closingText

    title: qsTr("End the session?")
    onOpened: {
        stay.forceActiveFocus();
        stay.focusReason = Qt.TabFocusReason;
    }

    TextLabel {
        Layout.fillWidth: true
        text: root.closingText
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
