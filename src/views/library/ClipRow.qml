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
    required property bool isLocal
    required property bool isReference
    signal makeReference
    signal focused

    implicitHeight: content.implicitHeight + 2 * Theme.row
    color: Theme.raised
    radius: Theme.radius

    Accessible.role: Accessible.ListItem
    Accessible.name: cameraId + ", " + fileName + ", " + placeText

    RowLayout {
        id: content

        anchors.fill: parent
        anchors.margins: Theme.row
        anchors.leftMargin: Theme.inside
        anchors.rightMargin: Theme.inside
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
}
