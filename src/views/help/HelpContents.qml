// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// The pages to choose from.
Rectangle {
    id: root

    required property HelpViewModel help
    signal networkCheckRequested

    color: Theme.panel

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TextLabel {
            Layout.margins: Theme.between
            Layout.topMargin: Theme.inside
            Layout.bottomMargin: Theme.row
            text: qsTr("Help")
            font.pixelSize: Theme.windowTitleSize
            font.weight: Font.DemiBold
        }
        RowList {
            id: list

            Layout.fillWidth: true
            Layout.fillHeight: true
            focus: true
            label: qsTr("Pages")
            model: root.help.pages
            selectedIndex: root.help.selectedIndex
            onSelectedIndexChanged: reveal(selectedIndex)
            onRowRequested: row => root.help.select(row)
            section: "section"
            delegate: HelpPageRow {
                list: list
            }
        }
        HelpedButton {
            Layout.fillWidth: true
            Layout.margins: Theme.inside
            text: qsTr("Check network")
            icon.name: "search"
            help: qsTr("See why no phone is found")
            onClicked: root.networkCheckRequested()
        }
    }
}
