// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts

// Asks before unfinished work ends with the program; while `work` says what that would come to.
Sheet {
    id: root

    required property string work

    title: qsTr("Quit while work is unfinished?")
    visible: work.length > 0
    onOpened: {
        stay.forceActiveFocus();
        stay.focusReason = Qt.TabFocusReason;
    }

    TextLabel {
        Layout.fillWidth: true
        text: root.work
        wrapMode: Text.Wrap
        elide: Text.ElideNone
    }
    buttons: [
        AppButton {
            text: qsTr("Quit")
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
