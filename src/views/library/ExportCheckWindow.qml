// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// What an export of the selected take would come to.
ProgramWindow {
    id: root

    required property LibraryViewModel library
    readonly property ExportCheckViewModel check: library.exportCheck

    title: qsTr("Check export")
    width: 720
    height: 780
    minimumWidth: 480
    minimumHeight: 420
    onClosing: copied.text = ""

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.between
        spacing: Theme.inside

        ColumnLayout {
            spacing: 2

            TextLabel {
                text: root.title
                font.pixelSize: Theme.windowTitleSize
                font.weight: Font.DemiBold
            }
            TextLabel {
                Layout.fillWidth: true
                visible: text.length > 0
                text: root.check.takeTitle
                color: Theme.secondary
                maximumLineCount: 1
            }
        }
        StatusLine {
            Layout.fillWidth: true
            text: root.check.summary
            icon: !root.check.checked ? "search" : root.check.good ? "check" : "warning"
            iconColor: !root.check.checked ? Theme.secondary : root.check.good ? Theme.ready : Theme.warning
        }
        ProgressStrip {
            Layout.fillWidth: true
            visible: root.check.running && progress.running
            progress: root.library.exportProgress
            inset: 0
            color: "transparent"
        }
        ScrollPage {
            Layout.fillWidth: true
            Layout.fillHeight: true
            label: qsTr("Findings")

            LibraryPanel {
                Layout.fillWidth: true
                visible: root.check.takeFindings.length > 0
                title: qsTr("The take")
                icon: "warning"
                iconColor: Theme.warning

                StatusLines {
                    Layout.fillWidth: true
                    sentences: root.check.takeFindings
                    icon: "warning"
                    iconColor: Theme.warning
                }
            }
            Repeater {
                model: root.check.cameras
                delegate: ExportCheckRow {
                    Layout.fillWidth: true
                    check: root.check
                }
            }
        }
        RowLayout {
            spacing: Theme.row

            SmallLabel {
                id: copied

                Layout.fillWidth: true
            }
            HelpedButton {
                text: qsTr("Cancel")
                help: qsTr("End the check without a result")
                available: root.check.running
                obstacle: qsTr("No check is running.")
                onClicked: root.check.cancel()
            }
            HelpedButton {
                text: qsTr("Check Again")
                icon.name: "check"
                help: qsTr("Read every recording and check what an export would refuse")
                available: root.check.available
                obstacle: root.check.obstacle
                onClicked: {
                    copied.text = "";
                    root.check.check();
                }
            }
            HelpedButton {
                text: qsTr("Copy report")
                icon.name: "list"
                help: qsTr("Copy these findings as text")
                available: root.check.checked
                obstacle: qsTr("There is nothing to copy before a check has ended.")
                onClicked: {
                    root.check.copyReport();
                    copied.text = qsTr("Copied.");
                }
            }
        }
    }
    ListedShortcut {
        key: KeyTable.Escape
        onActivated: root.close()
    }
}
