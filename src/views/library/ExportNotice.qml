// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// Where the package lies that has just been made. Not every desktop shows it by itself.
RowLayout {
    id: root

    required property LibraryViewModel library

    spacing: Theme.inside

    StatusLine {
        Layout.fillWidth: true
        text: root.library.packageText
        icon: "check"
        iconColor: Theme.ready
    }
    HelpedButton {
        text: qsTr("Show Package")
        icon.name: "folder"
        help: qsTr("Show the package in the file browser")
        onClicked: root.library.showPackage()
    }
}
