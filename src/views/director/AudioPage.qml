// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

Item {
    id: root

    required property DirectorViewModel director
    readonly property AudioPageViewModel page: director.audioPage

    ColumnLayout {
        id: head

        anchors.left: parent.left
        anchors.right: parent.right
        spacing: Theme.between

        InspectorHeading {
            title: qsTr("Audio")
            detail: qsTr("Live meters • samples not available")
        }
        SafetyNote {
            text: qsTr("Phones currently send dB values, not audio samples. Gain, pan and FX remain disabled.")
        }
    }
    CompactEmptyState {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        anchors.topMargin: Theme.between
        visible: !root.page.hasStrips
        title: qsTr("No audio meters")
        icon: "list"
        detail: qsTr("Waiting for camera status.")
    }
    // There can be hundreds: a list makes those that fit.
    RowList {
        id: strips

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        anchors.bottom: parent.bottom
        anchors.topMargin: Theme.between
        visible: root.page.hasStrips
        label: qsTr("Audio")
        selectable: false
        rowSpacing: Theme.between
        model: root.page.strips
        delegate: CompactAudioChannel {
            width: ListView.view.width - (strips.overflows ? Theme.inside : 0)
        }
    }
}
