// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

Sheet {
    id: root

    property alias name: field.text

    title: qsTr("Rename Project")
    onOpened: {
        field.forceActiveFocus(Qt.TabFocusReason);
        field.selectAll();
    }

    TextLabel {
        Layout.fillWidth: true
        text: qsTr("The stable project ID stays unchanged; the project revision increases.")
        wrapMode: Text.Wrap
        elide: Text.ElideNone
        color: Theme.secondary
    }
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
            text: qsTr("Rename")
            prominent: true
            onClicked: root.confirmed()
        }
    ]
}
