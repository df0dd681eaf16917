// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

ScrollPage {
    id: root

    required property DirectorViewModel director
    readonly property CameraPageViewModel page: director.cameraPage

    label: qsTr("Camera")

    InspectorHeading {
        title: qsTr("Camera")
        detail: qsTr("Preview camera desk")
    }
    SafetyNote {
        text: qsTr("Current streams remain JPEG 4/5 with 1/2 fallback. H.264 activates only after a camera advertises it and a future authenticated handshake agrees the format.")
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: Theme.row

        SectionTitle {
            text: qsTr("PREVIEW NETWORK")
        }
        RowLayout {
            spacing: Theme.row

            TextLabel {
                text: qsTr("Policy")
                color: Theme.secondary
            }
            AppPicker {
                Layout.fillWidth: true
                label: qsTr("Policy")
                titles: root.page.policyTitles
                current: root.page.policyIndex
                onChosen: index => root.page.policyIndex = index
            }
        }
        Repeater {
            model: root.page.rows

            DetailRow {
                Layout.fillWidth: true
            }
        }
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: Theme.inside

        FutureControl {
            icon: "film"
            title: qsTr("4K → 1080 Reframe")
            detail: qsTr("Crop, pan and digital zoom")
        }
        FutureControl {
            icon: "search"
            title: qsTr("Focus & Zoom")
            detail: qsTr("Manual and tracking control")
        }
        FutureControl {
            icon: "video"
            title: qsTr("Face Assist")
            detail: qsTr("Operator-confirmed framing")
        }
        FutureControl {
            icon: "gear"
            title: qsTr("Color Match")
            detail: qsTr("Exposure, white balance and tint")
        }
        FutureControl {
            icon: "list"
            title: qsTr("Stream Health")
            detail: qsTr("Adaptive profile, loss and latency")
        }
    }
}
