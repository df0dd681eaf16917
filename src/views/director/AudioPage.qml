pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

ScrollPage {
    id: root

    required property DirectorViewModel director
    readonly property AudioPageViewModel page: director.audioPage

    label: qsTr("Audio")

    InspectorHeading {
        title: qsTr("Audio")
        detail: qsTr("Live meters • samples not available")
    }
    SafetyNote {
        text: qsTr("Phones currently send dB values, not audio samples. Gain, pan and FX remain disabled.")
    }
    CompactEmptyState {
        Layout.fillWidth: true
        visible: !root.page.hasStrips
        title: qsTr("No audio meters")
        icon: "list"
        detail: qsTr("Waiting for camera status.")
    }
    Repeater {
        model: root.page.strips

        CompactAudioChannel {
            Layout.fillWidth: true
        }
    }
}
