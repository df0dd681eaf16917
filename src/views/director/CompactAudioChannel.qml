// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vorn

// One camera's levels. Its controls wait for audio samples.
ColumnLayout {
    id: root

    required property string name
    required property string levelText
    required property real leftDB
    required property real rightDB
    required property real gain
    required property bool muted
    required property bool solo

    readonly property string obstacle: qsTr("Phones currently send dB values, not audio samples.")

    spacing: Theme.tight

    Accessible.role: Accessible.Grouping
    Accessible.name: name + ", " + levelText

    component Toggle: AbstractButton {
        id: toggle

        required property string label
        required property string obstacle

        implicitWidth: Theme.hit
        implicitHeight: Theme.hit
        enabled: false
        checkable: true
        Accessible.role: Accessible.CheckBox
        Accessible.name: label
        Accessible.description: obstacle
        contentItem: SmallLabel {
            text: toggle.text
            color: Theme.disabled
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            Accessible.ignored: true
        }
        background: Rectangle {
            radius: Theme.radius
            color: Theme.raised
            border.color: Theme.frame
        }
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.row

        TextLabel {
            Layout.fillWidth: true
            text: root.name
            maximumLineCount: 1
        }
        SmallLabel {
            text: root.levelText
            font.family: Theme.mono
        }
    }
    AudioMeter {
        Layout.fillWidth: true
        value: root.leftDB
    }
    AudioMeter {
        Layout.fillWidth: true
        value: root.rightDB
    }
    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.row

        SmallLabel {
            text: qsTr("GAIN")
            color: Theme.disabled
            Accessible.ignored: true
        }
        Slider {
            id: slider

            Layout.fillWidth: true
            implicitHeight: Theme.hit
            enabled: false
            value: root.gain
            Accessible.role: Accessible.Slider
            Accessible.name: qsTr("GAIN") + ", " + root.name
            Accessible.description: root.obstacle
            background: Rectangle {
                x: slider.leftPadding
                y: (slider.height - height) / 2
                width: slider.availableWidth
                height: 4
                radius: 2
                color: Theme.field
            }
            handle: Rectangle {
                x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
                y: (slider.height - height) / 2
                width: 12
                height: 12
                radius: 6
                color: Theme.frame
            }
        }
        Toggle {
            text: qsTr("M")
            label: qsTr("Mute") + ", " + root.name
            obstacle: root.obstacle
            checked: root.muted
        }
        Toggle {
            text: qsTr("S")
            label: qsTr("Solo") + ", " + root.name
            obstacle: root.obstacle
            checked: root.solo
        }
    }
}
