// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Vorn

// The multiview: four places, two by two.
StudioPanel {
    id: root

    required property DirectorViewModel director
    readonly property CameraWallViewModel wall: director.wall
    readonly property real placeRoom: Math.floor((grid.height - grid.spacing) / 2)
    readonly property real surround: places.count > 0 ? (places.itemAt(0) as CameraTile).surround : 0
    // As wide as its height allows the pictures to be.
    readonly property real useful: 2 * ((placeRoom - surround) * director.desk.pictureRatio + 2 * Theme.tight)
                                   + grid.spacing + 2 * Theme.inside
    signal networkCheckRequested

    title: qsTr("MULTIVIEW")
    subtitle: wall.subtitle
    icon: "grid"

    Column {
        anchors.centerIn: parent
        width: parent.width
        visible: !root.wall.hasCameras
        spacing: Theme.between

        EmptyStateView {
            width: parent.width
            title: qsTr("No VORN cameras yet")
            icon: "phone"
            detail: qsTr("Keep a phone camera open on the same trusted Wi-Fi network.")
        }
        TextLabel {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: text.length > 0
            text: root.director.networkProblem
            color: Theme.warning
        }
        HelpedButton {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Scan Again")
            icon.name: "search"
            help: qsTr("Scan the local network for VORN cameras")
            onClicked: root.director.scan()
        }
        HelpedButton {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: root.director.silent
            text: qsTr("Check network")
            icon.name: "warning"
            help: qsTr("Look at what may keep the phones from being seen")
            onClicked: root.networkCheckRequested()
        }
        FirstSteps {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(parent.width - 2 * Theme.inside, 360)
            visible: root.director.firstStart
            steps: [
                qsTr("Put the phones and this computer on one Wi-Fi, and open the camera on each phone."),
                qsTr("Make a project in the Library, start a session here, and cut with the space bar."),
                qsTr("Then press Connect in the Library and bring the recordings over.")
            ]
        }
    }
    Grid {
        id: grid

        anchors.fill: parent
        visible: root.wall.hasCameras
        columns: 2
        spacing: Theme.inside

        Repeater {
            id: places

            model: root.wall.tiles

            CameraTile {
                width: Math.floor((grid.width - grid.spacing) / 2)
                room: root.placeRoom
                director: root.director
                onChosen: root.wall.select(cameraID)
            }
        }
    }
}
