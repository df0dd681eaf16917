pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// One running transfer.
Rectangle {
    id: root

    required property string clipName
    required property string phase
    required property string message
    required property double progress
    required property bool isRunning
    required property WorkProgressViewModel running
    readonly property bool tellsMore: isRunning && running.running

    implicitHeight: 64
    color: Theme.raised
    radius: Theme.radius

    Accessible.role: Accessible.ListItem
    Accessible.name: clipName + ", " + phase + ", " + message

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.row
        spacing: Theme.tight

        RowLayout {
            spacing: Theme.row

            TextLabel {
                Layout.fillWidth: true
                text: root.clipName
                elide: Text.ElideMiddle
                maximumLineCount: 1
            }
            TextLabel {
                text: root.phase
                color: Theme.secondary
            }
        }
        FlatProgressBar {
            Layout.fillWidth: true
            value: root.tellsMore ? root.running.fraction : root.progress
            label: root.clipName
        }
        RowLayout {
            spacing: Theme.between

            SmallLabel {
                Layout.fillWidth: true
                text: root.message
            }
            Repeater {
                model: root.tellsMore ? [root.running.bytesText, root.running.rateText, root.running.timeLeftText] : []

                SmallLabel {
                    required property string modelData

                    text: modelData
                    font.family: Theme.mono
                }
            }
        }
    }
}
