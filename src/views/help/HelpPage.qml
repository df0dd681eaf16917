// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// The chosen page.
Item {
    id: root

    required property HelpViewModel help

    RowLayout {
        id: head

        anchors.left: parent.left
        anchors.right: parent.right

        TextLabel {
            Layout.fillWidth: true
            text: root.help.title
            font.pixelSize: Theme.windowTitleSize
            font.weight: Font.DemiBold
        }
        HelpedButton {
            text: qsTr("Copy")
            icon.name: "list"
            help: qsTr("Copy this page as text")
            onClicked: root.help.copy()
        }
    }
    ScrollPage {
        id: page

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        anchors.bottom: parent.bottom
        anchors.topMargin: Theme.inside
        label: root.help.title

        // Two of them: a text and its format do not change at one moment.
        ReadText {
            Layout.fillWidth: true
            Layout.maximumWidth: root.help.readingWidth
            visible: root.help.richText.length > 0
            text: root.help.richText
            spoken: root.help.plainText
            textFormat: TextEdit.RichText
            tabStopDistance: 160
            onLinkActivated: link => root.help.follow(link)
        }
        ReadText {
            Layout.fillWidth: true
            visible: text.length > 0
            text: root.help.richText || root.help.showsFolders ? "" : root.help.plainText
            font.family: Theme.mono
            font.pixelSize: Theme.smallSize
        }
        FolderRow {
            Layout.fillWidth: true
            visible: root.help.showsFolders
            folder: root.help.recordingsFolder
        }
        FolderRow {
            Layout.fillWidth: true
            visible: root.help.showsFolders
            folder: root.help.libraryFolder
        }
        FolderRow {
            Layout.fillWidth: true
            visible: root.help.showsFolders
            folder: root.help.settingsFolder
        }
        SmallLabel {
            visible: root.help.showsFolders
            text: qsTr("Packages for Resolve lie in the folder that was chosen for each.")
        }
    }
    Connections {
        target: root.help
        function onSelected() {
            page.scrollBy(-page.contentHeight);
        }
    }
}
