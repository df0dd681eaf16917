// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

ScrollPage {
    id: root

    required property TakeDashboardViewModel dashboard

    label: qsTr("Resolve")

    LibraryPanel {
        Layout.fillWidth: true
        title: qsTr("DaVinci Resolve package")
        icon: "export"

        TextLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: qsTr("Linked video and audio retiming")
        }
        TextLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: qsTr("Original recordings remain untouched")
        }
        TextLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: qsTr("Weak or network-clock-only anchors fail closed")
        }
        TextLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: qsTr("Export creates timeline.fcpxml, alignment-report.json and source-manifest.json in a new non-clobbering folder.")
            color: Theme.secondary
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: Theme.frame
        }
        StatusLine {
            Layout.fillWidth: true
            text: root.dashboard.mediaText
            icon: root.dashboard.complete ? "check" : "warning"
            iconColor: root.dashboard.complete ? Theme.ready : Theme.warning
        }
    }
    LibraryPanel {
        Layout.fillWidth: true
        title: qsTr("Acceptance check")
        icon: "list"

        TextLabel {
            Layout.fillWidth: true
            text: qsTr("After importing into Resolve:")
            color: Theme.secondary
        }
        Repeater {
            model: [qsTr("Check head sync"), qsTr("Check middle sync"), qsTr("Check tail sync"),
                    qsTr("Confirm pitch and relinking")]
            delegate: StatusLine {
                required property string modelData

                Layout.fillWidth: true
                text: modelData
                icon: "dashed-circle"
            }
        }
        TextLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: qsTr("The alignment report remains unverified until these checks are completed with representative media.")
            color: Theme.secondary
        }
    }
    DirectorCutPanel {
        Layout.fillWidth: true
        cut: root.dashboard.cut
    }
    EditingCopiesPanel {
        Layout.fillWidth: true
        copies: root.dashboard.copies
    }
}
