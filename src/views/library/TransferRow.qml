// SPDX-License-Identifier: Apache-2.0
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

    component Figure: SmallLabel {
        elide: Text.ElideNone
        font.family: Theme.mono
    }

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
        // Anchored, not laid out: a layout misses what changes while its page is not visible.
        Item {
            Layout.fillWidth: true
            implicitHeight: words.implicitHeight

            SmallLabel {
                id: words

                anchors {
                    left: parent.left
                    right: figures.left
                    rightMargin: figures.visible ? Theme.between : 0
                }
                text: root.message
            }
            Row {
                id: figures

                anchors.right: parent.right
                width: visible ? implicitWidth : 0
                visible: root.tellsMore
                spacing: Theme.between

                Figure {
                    text: root.running.bytesText
                }
                Figure {
                    text: root.running.rateText
                }
                Figure {
                    text: root.running.timeLeftText
                }
            }
        }
    }
}
