// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// Where something lies, and the way there.
RowLayout {
    id: root

    required property FolderViewModel folder
    property string heading: folder.title

    spacing: Theme.inside

    ColumnLayout {
        spacing: 2

        SmallLabel {
            Layout.fillWidth: true
            text: root.heading
        }
        ReadText {
            Layout.fillWidth: true
            text: root.folder.path
            wrapMode: TextEdit.WrapAnywhere
        }
    }
    HelpedButton {
        Layout.alignment: Qt.AlignTop
        text: qsTr("Open Folder")
        help: root.folder.title
        available: root.folder.obstacle.length === 0
        obstacle: root.folder.obstacle
        onClicked: root.folder.open()
    }
}
