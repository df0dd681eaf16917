// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

ProgramWindow {
    id: root

    required property HelpViewModel help

    title: qsTr("VORN Help")
    width: 1120
    height: 720
    minimumWidth: 860
    minimumHeight: 480
    onActiveChanged: if (active) help.lookAtFolders()

    RowLayout {
        anchors.fill: parent
        spacing: 0

        HelpContents {
            Layout.preferredWidth: 276
            Layout.fillHeight: true
            help: root.help
            onNetworkCheckRequested: root.networkCheckRequested()
        }
        HelpPage {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: Theme.between
            help: root.help
        }
    }
    ListedShortcut {
        key: KeyTable.Escape
        onActivated: root.close()
    }
}
