// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// One recording. The button asks for its camera as the reference.
Rectangle {
    id: root

    required property int index
    required property string cameraId
    required property string fileName
    required property string deviceName
    required property string placeText
    required property string anchorsText
    required property string faultText
    required property bool isLocal
    required property bool isReference
    signal makeReference
    signal focused

    implicitHeight: content.implicitHeight + 2 * Theme.row + (fault.visible ? fault.height + Theme.tight : 0)
    color: Theme.raised
    radius: Theme.radius

    Accessible.role: Accessible.ListItem
    Accessible.name: cameraId + ", " + fileName + ", " + placeText + (faultText && ", " + faultText)

    RowLayout {
        id: content

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            topMargin: Theme.row
            leftMargin: Theme.inside
            rightMargin: Theme.inside
        }
        spacing: Theme.inside

        TokenIcon {
            icon: root.isLocal ? "video" : "phone"
            size: 20
            color: root.isLocal ? Theme.ready : Theme.secondary
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            clip: true

            RowLayout {
                spacing: Theme.row

                TextLabel {
                    Layout.maximumWidth: Math.ceil(implicitWidth)
                    Layout.fillWidth: true
                    text: root.cameraId
                    font.weight: Font.DemiBold
                    maximumLineCount: 1
                }
                TextLabel {
                    visible: root.isReference
                    text: qsTr("REFERENCE")
                    color: Theme.accent
                    font.pixelSize: Theme.smallSize
                    font.weight: Font.DemiBold
                    font.letterSpacing: 0.5
                }
            }
            TextLabel {
                id: file

                Layout.fillWidth: true
                text: root.fileName
                elide: Text.ElideMiddle
                maximumLineCount: 1
                HoverHandler {
                    id: hover
                }
                HelpTip {
                    open: hover.hovered && file.truncated
                    text: root.fileName
                }
            }
            SmallLabel {
                Layout.fillWidth: true
                visible: text.length > 0
                text: root.deviceName
                maximumLineCount: 1
            }
            RowLayout {
                spacing: Theme.inside

                SmallLabel {
                    text: root.placeText
                    color: root.isLocal ? Theme.ready : Theme.warning
                }
                SmallLabel {
                    text: root.anchorsText
                }
            }
        }
        AppButton {
            visible: !root.isReference
            text: qsTr("Use as reference")
            help: root.cameraId
            onClicked: root.makeReference()
            onActiveFocusChanged: if (activeFocus) root.focused()
        }
    }
    // Anchored, not laid out: a layout misses what changes while its page is not visible.
    StatusLine {
        id: fault

        anchors {
            left: parent.left
            right: parent.right
            top: content.bottom
            topMargin: Theme.tight
            leftMargin: Theme.inside
            rightMargin: Theme.inside
        }
        visible: text.length > 0
        text: root.faultText
        icon: "warning"
        iconColor: Theme.warning
    }
}
