// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// One movie on its way to a take.
LibraryPanel {
    id: root

    required property MovieImportViewModel movies
    required property int index
    required property string cameraName
    required property string fileText
    required property string stateText
    required property string stateIcon
    required property string referenceObstacle
    required property string picture
    required property bool problem
    required property bool reference
    required property bool leftOut

    title: reference ? qsTr("Reference") : leftOut ? qsTr("Movie %1, left out").arg(index + 1) : qsTr("Movie %1").arg(index + 1)
    icon: reference ? "flag" : "film"
    iconColor: reference ? Theme.accent : Theme.secondary

    TextLabel {
        Layout.fillWidth: true
        text: root.fileText
        color: Theme.secondary
        elide: Text.ElideMiddle
    }
    StatusLine {
        Layout.fillWidth: true
        text: root.stateText
        icon: root.stateIcon
        iconColor: root.problem ? Theme.warning : root.stateIcon === "check" ? Theme.ready : Theme.secondary
    }
    TimingPicture {
        Layout.fillWidth: true
        implicitHeight: 120
        visible: root.picture.length > 0
        movies: root.movies
        row: root.index
        Accessible.role: Accessible.Graphic
        Accessible.name: qsTr("What was heard of movie %1").arg(root.index + 1)
        Accessible.description: root.picture
    }
    RowLayout {
        spacing: Theme.row

        AppTextField {
            Layout.fillWidth: true
            Layout.minimumWidth: 120
            label: qsTr("Name of camera %1").arg(root.index + 1)
            text: root.cameraName
            onTextEdited: root.movies.rename(root.index, text)
        }
        HelpedButton {
            text: qsTr("Make Reference")
            help: qsTr("Lay the other movies on the time of this one")
            available: root.referenceObstacle.length === 0
            obstacle: root.referenceObstacle
            onClicked: root.movies.makeReference(root.index)
        }
        AppCheckBox {
            text: qsTr("Leave out")
            checked: root.leftOut
            onToggled: root.movies.setLeftOut(root.index, checked)
        }
    }
}
