// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// Statements of fact; there is nothing to change.
ColumnLayout {
    id: root

    required property HelpViewModel help

    spacing: Theme.between

    LibraryPanel {
        Layout.fillWidth: true
        title: qsTr("Storage")
        icon: "folder"

        TextLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: qsTr("Verified recordings: ~/Movies/VORN")
        }
        FolderRow {
            Layout.fillWidth: true
            visible: folder.differs
            folder: root.help.recordingsFolder
            heading: qsTr("On this computer:")
        }
        TextLabel {
            Layout.fillWidth: true
            Layout.topMargin: Theme.tight
            wrapMode: Text.Wrap
            text: qsTr("Library: ~/Library/Application Support/VORN")
        }
        FolderRow {
            Layout.fillWidth: true
            visible: folder.differs
            folder: root.help.libraryFolder
            heading: qsTr("On this computer:")
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
