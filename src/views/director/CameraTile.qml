// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// One place of the wall. A click, or Return, puts its camera in Preview.
FocusStop {
    id: root

    required property string cameraID
    required property string title
    required property string shortcut
    required property string notice
    required property string levelText
    required property real levelDB
    required property string batteryText
    required property string qualityText
    required property string spoken
    required property bool isEmpty
    required property bool isPreview
    required property bool isProgram
    required property bool recording
    required property bool online
    required property DirectorViewModel director
    required property real room // how high it may be
    readonly property real surround: 3 * Theme.tight + line.height // what is not picture
    signal chosen

    // No higher than pictures can be at this width.
    height: Math.floor(Math.min(room, (width - 2 * Theme.tight) / director.wall.tallestRatio + surround))
    activeFocusOnTab: !isEmpty
    Keys.onReturnPressed: chosen()
    Keys.onEnterPressed: chosen()

    Accessible.role: isEmpty ? Accessible.StaticText : Accessible.Button
    Accessible.name: isEmpty ? title + ", " + notice : title
    Accessible.description: (well.condition ? well.condition + ", " : "") + spoken
    Accessible.onPressAction: if (!isEmpty) chosen()

    // Beneath what explains itself under the pointer.
    MouseArea {
        anchors.fill: parent
        enabled: !root.isEmpty
        onPressed: root.focusByPointer()
        onClicked: root.chosen()
    }
    FrameWell {
        id: well

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: line.top
        anchors.bottomMargin: Theme.tight
        director: root.director
        cameraID: root.cameraID
        isPreview: root.isPreview
        isProgram: root.isProgram
        notice: root.notice

        Row {
            spacing: Theme.tight

            PlaceBadge {
                visible: !root.isEmpty
                shortcut: root.shortcut
            }
            TallyBadge {
                isPreview: root.isPreview
                isProgram: root.isProgram
            }
        }
        RecordingBadge {
            anchors.right: parent.right
            visible: root.recording
        }
    }
    ColumnLayout {
        id: line

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        spacing: 2

        TextLabel {
            id: name

            Layout.fillWidth: true
            text: root.title
            Accessible.ignored: true // the tile says it all
            color: root.online ? Theme.text : Theme.secondary
            maximumLineCount: 1

            HoverHandler {
                id: hover
            }
            HelpTip {
                open: hover.hovered && name.truncated
                text: root.title
            }
        }
        RowLayout {
            Layout.fillWidth: true
            Layout.preferredHeight: 16
            spacing: 6
            opacity: root.isEmpty ? 0 : 1

            SmallLabel {
                Layout.preferredWidth: 50
                text: root.levelText
                Accessible.ignored: true
                font.family: Theme.mono
            }
            Item {
                Layout.fillWidth: true
            }
            SmallLabel {
                text: root.batteryText
                Accessible.ignored: true
                font.family: Theme.mono
            }
            SmallLabel {
                Layout.maximumWidth: 90
                text: root.qualityText
                Accessible.ignored: true
            }
        }
        AudioMeter {
            Layout.fillWidth: true
            value: root.levelDB
            opacity: root.isEmpty ? 0 : 1
        }
    }
    FocusRing {
        visible: root.visualFocus
    }
}
