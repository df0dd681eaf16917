// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// What can be done with a take's recordings on this computer, how far it is, and what came of it. Anchored, not laid
// out: a layout misses what changes while its page is not visible.
Item {
    id: root

    required property TakeCheckViewModel check

    implicitHeight: actions.height + (progress.visible ? progress.height : 0)
                    + (outcome.visible ? outcome.implicitHeight + Theme.row : 0)

    ProgressStrip {
        id: progress

        anchors {
            left: parent.left
            right: parent.right
            bottom: actions.top
        }
        height: implicitHeight
        visible: root.check.progress.running
        progress: root.check.progress
        inset: 0
    }
    StatusLine {
        id: outcome

        anchors {
            left: parent.left
            right: parent.right
            bottom: actions.top
            bottomMargin: Theme.row
        }
        visible: text.length > 0
        text: root.check.outcome
        icon: root.check.good ? "check" : "warning"
        iconColor: root.check.good ? Theme.ready : Theme.warning
    }
    Row {
        id: actions

        anchors {
            left: parent.left
            bottom: parent.bottom
        }
        spacing: Theme.row

        HelpedButton {
            text: qsTr("Verify Again")
            icon.name: "check"
            help: qsTr("Read every recording from the disk and compare its checksum")
            available: root.check.available
            obstacle: root.check.obstacle
            onClicked: root.check.verify()
        }
        HelpedButton {
            text: qsTr("Save Checksums…")
            icon.name: "list"
            help: qsTr("Save a file by which others can check the recordings")
            available: root.check.available
            obstacle: root.check.obstacle
            onClicked: root.check.saveChecksums(root.Window.window)
        }
    }
}
