// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// Why cameras are seen or not. Measures while it is open.
ProgramWindow {
    id: root

    required property NetworkCheckViewModel check

    title: qsTr("Check network")
    width: 640
    height: 760
    minimumWidth: 420
    minimumHeight: 360
    onVisibleChanged: check.active = visible
    onClosing: copied.text = ""

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.between
        spacing: Theme.inside

        TextLabel {
            text: root.title
            font.pixelSize: Theme.windowTitleSize
            font.weight: Font.DemiBold
        }
        StatusLine {
            Layout.fillWidth: true
            text: root.check.summary
            icon: !root.check.measured ? "search" : root.check.allGood ? "check" : "warning"
            iconColor: !root.check.measured ? Theme.secondary : root.check.allGood ? Theme.ready : Theme.warning
        }
        RowList {
            Layout.fillWidth: true
            Layout.fillHeight: true
            label: qsTr("Findings")
            selectable: false
            model: root.check.findings
            delegate: NetworkFindingRow {
                width: ListView.view.width - Theme.inside
            }
        }
        RowLayout {
            spacing: Theme.row

            SmallLabel {
                id: copied

                Layout.fillWidth: true
            }
            HelpedButton {
                text: qsTr("Scan Again")
                icon.name: "search"
                help: qsTr("Scan the local network for VORN cameras")
                onClicked: root.check.scan()
            }
            HelpedButton {
                text: qsTr("Copy report")
                icon.name: "list"
                help: qsTr("Copy these findings as text, without the names of phones")
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
