// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// Program alone, for another display or another program that captures it: the picture, black where there
// is none, and no word but the age of a picture that has stopped.
ProgramWindow {
    id: root

    required property DirectorViewModel director
    readonly property DirectorMonitorViewModel monitor: director.programMonitor
    readonly property bool isFullScreen: visibility === Window.FullScreen
    signal fullScreenToggled

    title: qsTr("VORN Program")
    width: 960
    height: 540
    minimumWidth: 320
    minimumHeight: 180
    color: "black"

    Item {
        anchors.fill: parent

        Accessible.role: Accessible.Graphic
        Accessible.name: qsTr("PROGRAM") + ", " + root.monitor.cameraText
        Accessible.description: picture.ageText

        CameraFrameImage {
            id: picture

            anchors.fill: parent
            director: root.director
            cameraID: root.visible ? root.monitor.cameraID : "" // closed, it costs nothing
            monitor: true
        }
        AgeBadge {
            anchors.left: parent.left
            anchors.bottom: parent.bottom
            anchors.margins: Theme.between
            text: picture.ageText
            large: true
        }
        HoverHandler {
            cursorShape: root.isFullScreen ? Qt.BlankCursor : Qt.ArrowCursor
        }
        TapHandler {
            onDoubleTapped: root.fullScreenToggled()
        }
        // The keyboard may be here while the show goes on.
        SwitchKeys {
            director: root.director
        }
        ListedShortcut {
            key: KeyTable.FullScreen
            autoRepeat: false
            onActivated: root.fullScreenToggled()
        }
        // It closes nothing: a slip must not take Program off the air.
        ListedShortcut {
            key: KeyTable.LeaveFullScreen
            onActivated: if (root.isFullScreen) root.fullScreenToggled()
        }
    }
}
