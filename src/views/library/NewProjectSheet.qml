// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

Sheet {
    id: root

    property alias name: field.text

    title: qsTr("New VORN Project")
    onOpened: field.forceActiveFocus(Qt.TabFocusReason)

    AppTextField {
        id: field

        Layout.fillWidth: true
        label: qsTr("Project name")
    }
    buttons: [
        AppButton {
            text: qsTr("Cancel")
            onClicked: root.close()
        },
        AppButton {
            text: qsTr("Create")
            prominent: true
            onClicked: root.confirmed()
        }
    ]
}
