// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// Statements of fact; there is nothing to change.
ColumnLayout {
    id: root

    required property string recordingsPath
    required property string supportPath

    spacing: Theme.between

    component ActualPath: SmallLabel {
        Layout.fillWidth: true
        wrapMode: Text.WrapAnywhere
        elide: Text.ElideNone
    }

    LibraryPanel {
        Layout.fillWidth: true
        title: qsTr("Storage")
        icon: "folder"

        TextLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: qsTr("Verified recordings: ~/Movies/VORN")
        }
        ActualPath {
            text: qsTr("On this computer: %1").arg(root.recordingsPath)
        }
        TextLabel {
            Layout.fillWidth: true
            Layout.topMargin: Theme.tight
            wrapMode: Text.Wrap
            text: qsTr("Library: ~/Library/Application Support/VORN")
        }
        ActualPath {
            text: qsTr("On this computer: %1").arg(root.supportPath)
        }
    }
    LibraryPanel {
        Layout.fillWidth: true
        title: qsTr("Safety")
        icon: "check"

        TextLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            elide: Text.ElideNone
            text: qsTr("VORN never deletes phone recordings or overwrites an export directory.")
        }
    }
}
