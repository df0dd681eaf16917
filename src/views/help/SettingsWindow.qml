// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

ProgramWindow {
    id: root

    required property HelpViewModel help

    title: qsTr("Settings")
    width: 460
    height: content.implicitHeight + 2 * Theme.between
    minimumWidth: 360
    minimumHeight: 200
    onActiveChanged: if (active) help.lookAtFolders()

    SettingsView {
        id: content

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.between
        help: root.help
    }
    ListedShortcut {
        key: KeyTable.Escape
        onActivated: root.close()
    }
}
