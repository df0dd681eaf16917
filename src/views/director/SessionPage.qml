// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

ScrollPage {
    id: root

    required property DirectorViewModel director
    readonly property SessionPageViewModel page: director.sessionPage

    label: qsTr("Session")

    InspectorHeading {
        title: qsTr("Production")
        detail: qsTr("Project and take setup")
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: Theme.tight

        SmallLabel {
            text: qsTr("Project")
        }
        AppPicker {
            Layout.fillWidth: true
            label: qsTr("Project")
            titles: root.page.projectTitles
            current: root.page.projectIndex
            onChosen: index => root.page.chooseProject(index)
        }
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: Theme.tight

        SmallLabel {
            text: qsTr("Take")
        }
        AppTextField {
            Layout.fillWidth: true
            label: qsTr("Take")
            placeholderText: qsTr("take-id")
            text: root.page.plannedTakeID
            onTextChanged: root.page.plannedTakeID = text
        }
    }
    HelpedButton {
        Layout.fillWidth: true
        text: root.page.startTitle
        prominent: true
        help: qsTr("Start a local edit-decision log for the selected project and take")
        available: root.page.canStart
        obstacle: root.page.startObstacle
        onClicked: root.page.start()
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: Theme.row

        SectionTitle {
            text: qsTr("CAMERA CONTROL")
        }
        RowLayout {
            spacing: Theme.row

            component LockedButton: HelpedButton {
                Layout.fillWidth: true
                available: false
                obstacle: qsTr("Unavailable until authenticated camera pairing is implemented")
            }

            LockedButton {
                text: qsTr("ARM")
            }
            LockedButton {
                text: qsTr("● REC")
            }
            LockedButton {
                text: qsTr("STOP")
            }
        }
        SafetyNote {
            text: qsTr("Locked until authenticated pairing is available")
        }
    }
    SafetyNote {
        icon: "warning"
        text: qsTr("Preview and switch decisions work now. Program output is not a timed production stream yet.")
    }
}
