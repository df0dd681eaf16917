// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

Window {
    id: root

    required property LibraryViewModel library

    title: qsTr("Settings")
    width: 460
    height: content.implicitHeight + 2 * Theme.between
    minimumWidth: 360
    minimumHeight: 200
    color: Theme.window

    SettingsView {
        id: content

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.between
        recordingsPath: root.library.recordingsPath
        supportPath: root.library.supportPath
    }
    Shortcut {
        sequences: ["Esc", "Ctrl+W"]
        onActivated: root.close()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: Qt.quit()
    }
}
