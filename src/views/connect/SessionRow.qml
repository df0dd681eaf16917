// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// A phone that is paired.
Rectangle {
    id: root

    required property int index
    required property string deviceName
    required property string detail
    signal ended

    implicitHeight: 48
    radius: Theme.radius
    color: Theme.raised

    Accessible.role: Accessible.ListItem
    Accessible.name: deviceName + ", " + detail

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.inside
        anchors.rightMargin: Theme.row
        spacing: Theme.inside

        TokenIcon {
            icon: "lock"
            color: Theme.ready
        }
        ColumnLayout {
            spacing: 2

            TextLabel {
                Layout.fillWidth: true
                text: root.deviceName
                maximumLineCount: 1
            }
            SmallLabel {
                Layout.fillWidth: true
                text: root.detail
            }
        }
        AppButton {
            text: qsTr("End")
            help: root.deviceName
            onClicked: root.ended()
        }
    }
}
