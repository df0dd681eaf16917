import QtQuick
import QtQuick.Layouts

// One running transfer.
Rectangle {
    id: root

    required property string clipName
    required property string phase
    required property string message
    required property double progress

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
            value: root.progress
            label: root.clipName
        }
        SmallLabel {
            Layout.fillWidth: true
            text: root.message
        }
    }
}
